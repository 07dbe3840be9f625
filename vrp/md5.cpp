// SPDX-License-Identifier: MIT
#include "vrp/md5.h"

#include <algorithm>

namespace {

using Word = std::uint32_t;

constexpr std::size_t readChunkBytes = 1024;
constexpr std::uint32_t lengthPosition = 56;

constexpr std::array<std::uint8_t, 64> padding = {0x80};

Word F(Word x, Word y, Word z)
{
    return (x & y) | (~x & z);
}

Word G(Word x, Word y, Word z)
{
    return (x & z) | (y & ~z);
}

Word H(Word x, Word y, Word z)
{
    return x ^ y ^ z;
}

Word I(Word x, Word y, Word z)
{
    return y ^ (x | ~z);
}

Word rotate_left(Word x, int n)
{
    return (x << n) | (x >> (32 - n));
}

void FF(Word &a, Word b, Word c, Word d, Word x, int s, Word constant)
{
    a = rotate_left(a + F(b, c, d) + x + constant, s) + b;
}

void GG(Word &a, Word b, Word c, Word d, Word x, int s, Word constant)
{
    a = rotate_left(a + G(b, c, d) + x + constant, s) + b;
}

void HH(Word &a, Word b, Word c, Word d, Word x, int s, Word constant)
{
    a = rotate_left(a + H(b, c, d) + x + constant, s) + b;
}

void II(Word &a, Word b, Word c, Word d, Word x, int s, Word constant)
{
    a = rotate_left(a + I(b, c, d) + x + constant, s) + b;
}

using Step = void (*)(Word &, Word, Word, Word, Word, int, Word);

struct Round
{
    Step step;
    std::size_t firstWord, wordStride;
    std::array<int, 4> shifts;
};

constexpr std::array<Round, 4> roundTable = {{
    {FF, 0, 1, {7, 12, 17, 22}},
    {GG, 1, 5, {5, 9, 14, 20}},
    {HH, 5, 3, {4, 11, 16, 23}},
    {II, 0, 7, {6, 10, 15, 21}},
}};

/// The integer part of 2^32 * abs(sin(i)), i from 1 to 64.
// clang-format off
constexpr std::array<Word, 64> constants = {
    0xD76AA478, 0xE8C7B756, 0x242070DB, 0xC1BDCEEE, 0xF57C0FAF, 0x4787C62A, 0xA8304613, 0xFD469501,
    0x698098D8, 0x8B44F7AF, 0xFFFF5BB1, 0x895CD7BE, 0x6B901122, 0xFD987193, 0xA679438E, 0x49B40821,
    0xF61E2562, 0xC040B340, 0x265E5A51, 0xE9B6C7AA, 0xD62F105D, 0x02441453, 0xD8A1E681, 0xE7D3FBC8,
    0x21E1CDE6, 0xC33707D6, 0xF4D50D87, 0x455A14ED, 0xA9E3E905, 0xFCEFA3F8, 0x676F02D9, 0x8D2A4C8A,
    0xFFFA3942, 0x8771F681, 0x6D9D6122, 0xFDE5380C, 0xA4BEEA44, 0x4BDECFA9, 0xF6BB4B60, 0xBEBFBC70,
    0x289B7EC6, 0xEAA127FA, 0xD4EF3085, 0x04881D05, 0xD9D4D039, 0xE6DB99E5, 0x1FA27CF8, 0xC4AC5665,
    0xF4292244, 0x432AFF97, 0xAB9423A7, 0xFC93A039, 0x655B59C3, 0x8F0CCC92, 0xFFEFF47D, 0x85845DD1,
    0x6FA87E4F, 0xFE2CE6E0, 0xA3014314, 0x4E0811A1, 0xF7537E82, 0xBD3AF235, 0x2AD7D2BB, 0xEB86D391,
};
// clang-format on

} // namespace

MyMD5::MyMD5()
{
    init();
}

MyMD5::MyMD5(std::FILE *file)
{
    init();
    update(file);
    finalize();
}

void MyMD5::init()
{
    m_state = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476};
    m_bitCount = {};
    m_buffer = {};
    m_digest = {};
    m_finalized = false;
}

void MyMD5::update(const unsigned char *bytes, std::uint32_t length)
{
    if (m_finalized) {
        return;
    }
    std::uint32_t used = m_bitCount[0] / 8 % blockBytes;
    m_bitCount[0] += length << 3;
    m_bitCount[1] += (length >> 29) + (m_bitCount[0] < length << 3 ? 1 : 0);
    while (length >= blockBytes - used) {
        const std::uint32_t taken = blockBytes - used;
        (memcpy)(m_buffer.data() + used, bytes, taken);
        transform(m_buffer.data());
        bytes += taken;
        length -= taken;
        used = 0;
    }
    (memcpy)(m_buffer.data() + used, bytes, length);
}

void MyMD5::update(std::FILE *file)
{
    std::array<unsigned char, readChunkBytes> chunk;
    while (const std::size_t length = std::fread(chunk.data(), 1, chunk.size(), file)) {
        update(chunk.data(), static_cast<std::uint32_t>(length));
    }
    std::fclose(file);
}

void MyMD5::finalize()
{
    if (m_finalized) {
        return;
    }
    std::array<std::uint8_t, 8> length;
    encode(length.data(), m_bitCount.data(), length.size());
    const std::uint32_t used = m_bitCount[0] / 8 % blockBytes;
    update(padding.data(), (used < lengthPosition ? lengthPosition : lengthPosition + blockBytes) - used);
    update(length.data(), static_cast<std::uint32_t>(length.size()));
    encode(m_digest.data(), m_state.data(), m_digest.size());
    (memset)(m_buffer.data(), 0, blockBytes);
    m_finalized = true;
}

std::string MyMD5::hex_digest() const
{
    std::string text;
    if (!m_finalized) {
        return text;
    }
    for (const std::uint8_t byte : m_digest) {
        std::array<char, 3> digits;
        std::snprintf(digits.data(), digits.size(), "%02x", byte);
        text += digits.data();
    }
    return text;
}

void MyMD5::transform(const std::uint8_t *block)
{
    std::array<Word, 16> words;
    decode(words.data(), block, blockBytes);
    auto [a, b, c, d] = m_state;
    for (std::size_t i = 0; i < constants.size(); ++i) {
        const Round &round = roundTable[i / 16];
        const Word word = words[(round.firstWord + i % 16 * round.wordStride) % 16];
        round.step(a, b, c, d, word, round.shifts[i % 4], constants[i]);
        const Word last = d;
        d = c;
        c = b;
        b = a;
        a = last;
    }
    m_state[0] += a;
    m_state[1] += b;
    m_state[2] += c;
    m_state[3] += d;
}

void MyMD5::encode(std::uint8_t *output, const std::uint32_t *input, std::size_t length)
{
    for (std::size_t i = 0; i < length; ++i) {
        output[i] = static_cast<std::uint8_t>(input[i / 4] >> (i % 4 * 8) & 0xFF);
    }
}

void MyMD5::decode(std::uint32_t *output, const std::uint8_t *input, std::size_t length)
{
    for (std::size_t i = 0; i < length; i += 4) {
        output[i / 4] = static_cast<Word>(input[i]) | static_cast<Word>(input[i + 1]) << 8 |
                        static_cast<Word>(input[i + 2]) << 16 | static_cast<Word>(input[i + 3]) << 24;
    }
}

void(MyMD5::memcpy)(std::uint8_t *output, const std::uint8_t *input, std::size_t length)
{
    std::copy_n(input, length, output);
}

void(MyMD5::memset)(std::uint8_t *output, std::uint8_t value, std::size_t length)
{
    std::fill_n(output, length, value);
}

std::string MD5_string(const char *text)
{
    return MD5_string(std::string(text));
}

std::string MD5_string(const std::string &text)
{
    return MD5_bytes(reinterpret_cast<const unsigned char *>(text.data()),
                     static_cast<std::uint32_t>(text.size()));
}

std::string MD5_bytes(const unsigned char *bytes, std::uint32_t length)
{
    MyMD5 digest;
    digest.update(bytes, length);
    digest.finalize();
    return digest.hex_digest();
}

std::string MD5_file(const char *path)
{
    std::FILE *file = std::fopen(path, "rb");
    if (file == nullptr) {
        return {};
    }
    return MyMD5(file).hex_digest();
}
