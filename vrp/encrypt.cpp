// SPDX-License-Identifier: MIT
#include "vrp/encrypt.h"

#include "vrp/platform/system.h"
#include "vrp/platform/text.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <utility>

namespace {

constexpr wchar_t keyPrefix[] = L"q7Vd#";
constexpr wchar_t keySeparator[] = L"~";
constexpr wchar_t keySuffix[] = L"Xm4%h";

constexpr int workingBufferBytes = 1024;
constexpr int cipherMode = 1;
constexpr std::size_t headerBytes = 8;
constexpr std::size_t padPosition = 3;
constexpr std::size_t blockBytes = 8;
constexpr std::size_t keptCipherBytes = 126;
constexpr int longestResultSize = 255;
constexpr char padCharacter = '0';

using WorkingBuffer = std::array<char, workingBufferBytes>;
using Block = std::array<char, blockBytes>;
using Transform = void (*)(const blf_ctx *, std::uint32_t &, std::uint32_t &);

/// "VR", the format version 1, the pad count, "0000".
std::string headerFor(std::size_t pad)
{
    return "VR1" + std::to_string(pad) + "0000";
}

std::string keyText()
{
    return wtoUTF8(keyPrefix + (keySeparator + VrpsGetUserName()) + keySuffix);
}

WorkingBuffer workingCopy(const std::wstring &text)
{
    WorkingBuffer buffer{};
    const std::string utf8 = wtoUTF8(text);
    std::copy_n(utf8.data(), std::min(utf8.size(), buffer.size() - 1), buffer.data());
    return buffer;
}

void replaceText(char *buffer, int size, const std::string &text)
{
    const auto limit = static_cast<std::size_t>(std::clamp(size, 1, longestResultSize) - 1);
    const std::size_t length = std::min(text.size(), limit);
    std::copy_n(text.data(), length, buffer);
    buffer[length] = '\0';
}

std::string hexadecimal(const std::string &bytes)
{
    std::string text;
    for (const char byte : bytes) {
        std::array<char, 3> digits;
        std::snprintf(digits.data(), digits.size(), "%02x", static_cast<unsigned char>(byte));
        text += digits.data();
    }
    return text;
}

/// The byte that up to two hexadecimal digits spell; 0 when there is none.
char spelledByte(char first, char second)
{
    const std::array<char, 3> pair{first, second, '\0'};
    unsigned value = 0;
    std::sscanf(pair.data(), "%2x", &value);
    return static_cast<char>(value & 0xFF);
}

std::uint32_t bigEndianWord(const char *bytes)
{
    std::uint32_t word = 0;
    for (int i = 0; i < 4; ++i) {
        word = word << 8 | static_cast<unsigned char>(bytes[i]);
    }
    return word;
}

void putBigEndian(std::uint32_t word, char *bytes)
{
    for (int i = 3; i >= 0; --i, word >>= 8) {
        bytes[i] = static_cast<char>(word & 0xFF);
    }
}

/// Applies the cipher until no byte is zero. It ends: the cipher permutes the blocks, so that repeating it
/// comes back to the block it began with, which has no zero byte.
Block transformed(const blf_ctx &context, Transform transform, const char *bytes)
{
    std::uint32_t left = bigEndianWord(bytes);
    std::uint32_t right = bigEndianWord(bytes + 4);
    Block block;
    do {
        transform(&context, left, right);
        putBigEndian(left, block.data());
        putBigEndian(right, block.data() + 4);
    } while (std::find(block.begin(), block.end(), '\0') != block.end());
    return block;
}

/// Writes the transformed full blocks of `bytes` to `out` and returns the end of what it wrote.
char *appendBlocks(const char *key, Transform transform, std::string_view bytes, char *out)
{
    if (bytes.size() < blockBytes) {
        return out;
    }
    blf_ctx context;
    blf_key(&context, key, static_cast<int>(std::strlen(key)));
    for (; bytes.size() >= blockBytes; bytes.remove_prefix(blockBytes)) {
        const Block block = transformed(context, transform, bytes.data());
        out = std::copy(block.begin(), block.end(), out);
    }
    return out;
}

std::uint32_t roundFunction(const blf_ctx *context, std::uint32_t x)
{
    const auto &S = context->S;
    return ((S[0][x >> 24] + S[1][x >> 16 & 0xFF]) ^ S[2][x >> 8 & 0xFF]) + S[3][x & 0xFF];
}

/// The sixteen rounds, with the subkeys in either order.
template <typename Iterator>
void rounds(const blf_ctx *context, Iterator subKey, std::uint32_t &left, std::uint32_t &right)
{
    for (int i = 0; i < 16; ++i) {
        left ^= *subKey++;
        right ^= roundFunction(context, left);
        std::swap(left, right);
    }
    std::swap(left, right);
    right ^= *subKey++;
    left ^= *subKey;
}

/// Four key bytes from `at` on, cycling, as one word.
std::uint32_t keyWord(const char *key, int keyLength, int &at)
{
    std::uint32_t word = 0;
    for (int i = 0; i < 4; ++i) {
        word = word << 8 | static_cast<std::uint32_t>(static_cast<signed char>(key[at]));
        at = (at + 1) % keyLength;
    }
    return word;
}

int transformPairs(const blf_ctx *context, Transform transform, std::uint32_t *data, int blocks)
{
    int done = 0;
    for (; done < blocks; ++done, data += 2) {
        transform(context, data[0], data[1]);
    }
    return done;
}

} // namespace

std::wstring VrpsEncryptPassword(const std::wstring &plain)
{
    const std::string key = keyText();
    WorkingBuffer buffer = workingCopy(plain);
    EncryptString(key.c_str(), buffer.data(), workingBufferBytes);
    return UTF8tow(buffer.data());
}

std::wstring VrpsDecryptPassword(const std::wstring &stored)
{
    WorkingBuffer buffer = workingCopy(stored);
    const std::string key = keyText();
    DecryptString(key.c_str(), buffer.data(), workingBufferBytes);
    return UTF8tow(buffer.data());
}

void EncryptString(const char *key, char *buffer, int size)
{
    if (*buffer == '\0' || *key == '\0') {
        return;
    }
    std::string binary(std::strlen(buffer) + headerBytes + blockBytes + 1, '\0');
    const int length = encrypts(cipherMode, key, buffer, binary.data());
    if (length < 0) {
        return;
    }
    binary.resize(std::min(static_cast<std::size_t>(length), keptCipherBytes));
    std::string text = hexadecimal(binary);
    _strupr(text.data());
    replaceText(buffer, size, text);
}

void DecryptString(const char *key, char *buffer, int size)
{
    if (*buffer == '\0' || *key == '\0') {
        return;
    }
    std::string binary = buffer;
    _strupr(binary.data());
    H2A(binary.data());
    std::string text(binary.size() + 1, '\0');
    const int length = decrypts(cipherMode, key, binary.c_str(), text.data());
    if (length < 0) {
        return;
    }
    text.resize(static_cast<std::size_t>(length));
    replaceText(buffer, size, text);
}

int encrypts(int mode, const char *key, const char *plain, char *out)
{
    if (mode != cipherMode) {
        return -1;
    }
    std::string padded = plain;
    const std::size_t pad = (blockBytes - padded.size() % blockBytes) % blockBytes;
    padded.append(pad, padCharacter);
    std::copy_n(headerFor(pad).data(), headerBytes, out);
    char *end = appendBlocks(key, Blowfish_encipher, padded, out + headerBytes);
    *end = '\0';
    return static_cast<int>(end - out);
}

int decrypts(int mode, const char *key, const char *in, char *out)
{
    if (mode != cipherMode) {
        return -1;
    }
    const std::string_view binary = in;
    if (binary.size() < headerBytes) {
        *out = '\0';
        return 0;
    }
    const std::string_view blocks = binary.substr(headerBytes);
    const char *end = appendBlocks(key, Blowfish_decipher, blocks, out);
    const int pad = binary[padPosition] - padCharacter;
    const int kept = std::clamp(static_cast<int>(blocks.size()) - pad, 0, static_cast<int>(end - out));
    out[kept] = '\0';
    return kept;
}

void InitializeBlowfish(blf_ctx *context, const char *key, int keyLength)
{
    context->P = blowfish::initialP;
    context->S = blowfish::initialS;
    if (keyLength > 0) {
        int at = 0;
        for (std::uint32_t &word : context->P) {
            word ^= keyWord(key, keyLength, at);
        }
    }
    std::uint32_t left = 0;
    std::uint32_t right = 0;
    const auto fill = [&](auto &words) {
        for (std::size_t i = 0; i < words.size(); i += 2) {
            Blowfish_encipher(context, left, right);
            words[i] = left;
            words[i + 1] = right;
        }
    };
    fill(context->P);
    std::for_each(context->S.begin(), context->S.end(), fill);
}

void blf_key(blf_ctx *context, const char *key, int keyLength)
{
    InitializeBlowfish(context, key, keyLength);
}

void Blowfish_encipher(const blf_ctx *context, std::uint32_t &left, std::uint32_t &right)
{
    rounds(context, context->P.begin(), left, right);
}

void Blowfish_decipher(const blf_ctx *context, std::uint32_t &left, std::uint32_t &right)
{
    rounds(context, context->P.rbegin(), left, right);
}

int blf_enc(const blf_ctx *context, std::uint32_t *data, int blocks)
{
    return transformPairs(context, Blowfish_encipher, data, blocks);
}

int blf_dec(const blf_ctx *context, std::uint32_t *data, int blocks)
{
    return transformPairs(context, Blowfish_decipher, data, blocks);
}

int H2A(char *text)
{
    int length = 0;
    for (const char *digits = text; *digits != '\0'; digits += digits[1] == '\0' ? 1 : 2) {
        text[length++] = spelledByte(digits[0], digits[1]);
    }
    text[length] = '\0';
    return length;
}

char *_strupr(char *text)
{
    for (char *c = text; *c != '\0'; ++c) {
        *c = toupper(*c);
    }
    return text;
}

char toupper(char c)
{
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}
