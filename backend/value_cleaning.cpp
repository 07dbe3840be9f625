// SPDX-License-Identifier: MIT
#include "backend/value_cleaning.h"

#include <algorithm>
#include <cstdint>

namespace backend {
namespace {

constexpr char32_t replacement = 0xFFFD;

struct Character
{
    char32_t code = replacement;
    std::size_t bytes = 1;
};

std::uint8_t byteAt(std::string_view text, std::size_t index)
{
    return static_cast<std::uint8_t>(text[index]);
}

/// Number of bytes that a lead byte announces; 0 for a byte that cannot lead.
std::size_t announcedBytes(std::uint8_t lead)
{
    if (lead < 0x80) {
        return 1;
    }
    if (lead >= 0xC2 && lead <= 0xDF) {
        return 2;
    }
    if (lead >= 0xE0 && lead <= 0xEF) {
        return 3;
    }
    return lead >= 0xF0 && lead <= 0xF4 ? 4 : 0;
}

bool isShortest(char32_t code, std::size_t bytes)
{
    constexpr char32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    return code >= smallest[bytes];
}

bool isSurrogate(char32_t code)
{
    return code >= 0xD800 && code <= 0xDFFF;
}

/// The first character of a text that is not empty; a byte that fits nowhere is one replacement character.
Character decode(std::string_view text)
{
    const std::uint8_t lead = byteAt(text, 0);
    const std::size_t bytes = announcedBytes(lead);
    if (bytes == 1) {
        return {lead, 1};
    }
    if (bytes == 0 || bytes > text.size()) {
        return {};
    }
    char32_t code = lead & (0xFFU >> (bytes + 1));
    for (std::size_t i = 1; i < bytes; ++i) {
        const std::uint8_t next = byteAt(text, i);
        if ((next & 0xC0U) != 0x80U) {
            return {};
        }
        code = (code << 6U) | (next & 0x3FU);
    }
    if (!isShortest(code, bytes) || isSurrogate(code) || code > 0x10FFFF) {
        return {};
    }
    return {code, bytes};
}

bool isDropped(char32_t code)
{
    struct Range
    {
        char32_t first, last;
    };

    constexpr Range dropped[] = {
        {0x00, 0x1F}, {0x7F, 0x9F}, {'|', '|'}, {0x2028, 0x202E}, {0x2066, 0x2069}, {0xFEFF, 0xFEFF},
    };
    return std::any_of(std::begin(dropped), std::end(dropped),
                       [code](const Range &range) { return code >= range.first && code <= range.last; });
}

std::string_view encoded(const Character &character, std::string_view source)
{
    if (character.code == '"') {
        return "'";
    }
    if (character.code == replacement) {
        return "\xEF\xBF\xBD";
    }
    return source.substr(0, character.bytes);
}

std::string cleanText(std::string_view value, std::size_t maxBytes)
{
    std::string clean;
    while (!value.empty()) {
        const Character character = decode(value);
        const std::string_view bytes = encoded(character, value);
        value.remove_prefix(character.bytes);
        if (isDropped(character.code)) {
            continue;
        }
        if (clean.size() + bytes.size() > maxBytes) {
            break;
        }
        clean += bytes;
    }
    return clean;
}

/// "-" begins an option of the program, "##" the name of a variable in its commands.
bool isTakenForAnother(std::string_view text)
{
    return text.starts_with('-') || text.starts_with("##");
}

} // namespace

std::string cleanValue(std::string_view value)
{
    std::string clean = cleanText(value, maxValueBytes);
    return isTakenForAnother(clean) ? ' ' + cleanText(value, maxValueBytes - 1) : clean;
}

} // namespace backend
