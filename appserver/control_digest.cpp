// SPDX-License-Identifier: MIT
#include "appserver/control_digest.h"

#include <openssl/evp.h>

#include <array>
#include <cstdint>
#include <stdexcept>

namespace appserver {

namespace {

/// Takes one code point off the text.
std::uint32_t takeCodePoint(std::string_view &text)
{
    const auto first = static_cast<unsigned char>(text.front());
    text.remove_prefix(1);
    std::size_t following = 0;
    if (first >= 0xF0 && first <= 0xF4) {
        following = 3;
    } else if (first >= 0xE0 && first <= 0xEF) {
        following = 2;
    } else if (first >= 0xC2 && first <= 0xDF) {
        following = 1;
    }
    if (following == 0 || text.size() < following) {
        return first;
    }
    std::uint32_t codePoint = first & (0x3FU >> following);
    for (std::size_t i = 0; i < following; ++i) {
        const auto next = static_cast<unsigned char>(text[i]);
        if ((next & 0xC0U) != 0x80U) {
            return first;
        }
        codePoint = (codePoint << 6U) | (next & 0x3FU);
    }
    text.remove_prefix(following);
    return codePoint;
}

} // namespace

std::string upperCasedForDigest(std::string_view text)
{
    std::string bytes;
    while (!text.empty()) {
        std::uint32_t codePoint = takeCodePoint(text);
        if (codePoint >= 'a' && codePoint <= 'z') {
            codePoint -= 'a' - 'A';
        }
        const auto low = static_cast<unsigned char>(codePoint & 0xFFU);
        if (low < 0x80) {
            bytes += static_cast<char>(low);
        } else {
            bytes += "\xED\x9E\xBF\x3F";
        }
    }
    return bytes;
}

std::string controlDigest(std::string_view session, std::string_view identifier, std::string_view password)
{
    std::string text(session);
    text.append("::").append(identifier).append("::").append(password);
    const std::string bytes = upperCasedForDigest(text);
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned int length = 0;
    if (EVP_Digest(bytes.data(), bytes.size(), digest.data(), &length, EVP_md5(), nullptr) != 1) {
        throw std::runtime_error("MD5 is not available");
    }
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string hex;
    for (unsigned int i = 0; i < length; ++i) {
        hex += digits[digest[i] >> 4U];
        hex += digits[digest[i] & 0x0FU];
    }
    return hex;
}

} // namespace appserver
