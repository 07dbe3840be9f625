// SPDX-License-Identifier: MIT
#include "tests/fuzz/fuzz_entry.h"
#include "tests/unit/cipher/ReferenceBlowfish.h"
#include "vrp/encrypt.h"
#include "vrp/md5.h"

#include <openssl/evp.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>

// The program's Blowfish, its stored form and its MD5 beside OpenSSL's.

namespace {

constexpr std::size_t maxText = 255; ///< of the field that a stored form is made in

std::string hex(const unsigned char *bytes, std::size_t count)
{
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        std::array<char, 3> digits{};
        std::snprintf(digits.data(), digits.size(), "%02x", static_cast<unsigned int>(bytes[i]));
        text += digits.data();
    }
    return text;
}

/// The text up to its NUL, as a C string holds it.
std::string upToNul(const std::string &text)
{
    return text.substr(0, text.find('\0'));
}

void checkDigest(const std::string &bytes, std::size_t firstPiece)
{
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned int length = 0;
    ensure(EVP_Digest(bytes.data(), bytes.size(), digest.data(), &length, EVP_md5(), nullptr) == 1);
    const std::string expected = hex(digest.data(), length);
    ensure(MD5_string(bytes) == expected);

    const auto *data = reinterpret_cast<const unsigned char *>(bytes.data());
    const auto first = static_cast<std::uint32_t>(std::min(firstPiece, bytes.size()));
    MyMD5 pieces;
    pieces.update(data, first);
    pieces.update(data + first, static_cast<std::uint32_t>(bytes.size()) - first);
    pieces.finalize();
    ensure(pieces.hex_digest() == expected);
}

std::uint32_t bigEndian(const std::string &bytes, std::size_t at)
{
    std::uint32_t word = 0;
    for (std::size_t i = at; i < at + 4; ++i) {
        word = word << 8U | static_cast<unsigned char>(bytes[i]);
    }
    return word;
}

void checkBlock(const std::string &key, const std::string &block)
{
    blf_ctx context;
    blf_key(&context, key.data(), static_cast<int>(key.size()));
    std::uint32_t left = bigEndian(block, 0);
    std::uint32_t right = bigEndian(block, 4);
    Blowfish_encipher(&context, left, right);
    const std::string expected = ReferenceBlowfish(key).encipher(block);
    ensure(left == bigEndian(expected, 0) && right == bigEndian(expected, 4));
    Blowfish_decipher(&context, left, right);
    ensure(left == bigEndian(block, 0) && right == bigEndian(block, 4));
}

std::array<char, 1024> fieldOf(const std::string &text)
{
    std::array<char, 1024> field{};
    std::copy_n(text.data(), std::min(text.size(), maxText), field.data());
    return field;
}

void checkStoredForm(const std::string &key, const std::string &text)
{
    std::array<char, 1024> field = fieldOf(text);
    EncryptString(key.c_str(), field.data(), static_cast<int>(field.size()));
    ensure(field.data() == ReferenceBlowfish(key).storedForm(text));
    if (text.size() <= 112) {
        DecryptString(key.c_str(), field.data(), static_cast<int>(field.size()));
        ensure(field.data() == text);
    }
}

/// What others have written into a store: whatever it is, a bounded text comes back.
void decipherAnything(const std::string &key, const std::string &text, int size)
{
    std::array<char, 1024> field = fieldOf(text);
    DecryptString(key.c_str(), field.data(), size);
    const std::string result = field.data();
    ensure(result == text || result.size() < 255);

    std::array<char, 1024> digits = fieldOf(text);
    ensure(H2A(digits.data()) <= static_cast<int>(text.size()));
}

} // namespace

/// The first byte is the length of the key, the second the size of a field, the rest key and text.
int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size < 3) {
        return 0;
    }
    const std::string rest(reinterpret_cast<const char *>(data + 2), size - 2);
    checkDigest(rest, data[1]);

    const std::size_t keyBytes = std::min<std::size_t>(1 + data[0] % 72, rest.size());
    const std::string key = rest.substr(0, keyBytes);
    const std::string text = rest.substr(keyBytes);
    std::string block = text.substr(0, 8);
    block.resize(8);
    checkBlock(key, block);

    const std::string narrowKey = upToNul(key);
    const std::string narrowText = upToNul(text).substr(0, maxText);
    decipherAnything(narrowKey, narrowText, data[1]);
    if (!narrowKey.empty() && !narrowText.empty()) {
        checkStoredForm(narrowKey, narrowText);
    }
    return 0;
}
