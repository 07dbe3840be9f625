// SPDX-License-Identifier: MIT
#include "bench/link/link_settings.h"

#include <array>
#include <charconv>
#include <optional>
#include <utility>

namespace {

using Field = std::int64_t LinkSettings::*;

constexpr std::array<std::pair<std::string_view, Field>, 4> fields{{
    {"delay-us", &LinkSettings::delayUs},
    {"rate-kbit", &LinkSettings::rateKbit},
    {"queue-bytes", &LinkSettings::queueBytes},
    {"queue-packets", &LinkSettings::queuePackets},
}};

/// The largest number that still leaves room for the arithmetic on nanoseconds and bits.
constexpr std::int64_t largestNumber = 1'000'000'000'000;

std::optional<std::int64_t> parseNumber(std::string_view text)
{
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{} || end != text.data() + text.size() || number < 0 || number > largestNumber) {
        return std::nullopt;
    }
    return number;
}

std::optional<Field> fieldNamed(std::string_view name)
{
    for (const auto &[known, field] : fields) {
        if (known == name) {
            return field;
        }
    }
    return std::nullopt;
}

bool takePrefix(std::string_view prefix, std::string_view &word)
{
    if (!word.starts_with(prefix)) {
        return false;
    }
    word.remove_prefix(prefix.size());
    return true;
}

} // namespace

bool applyLinkSetting(std::string_view word, LinkPair &link)
{
    const bool upOnly = takePrefix("up.", word);
    const bool downOnly = !upOnly && takePrefix("down.", word);
    const auto equals = word.find('=');
    if (equals == std::string_view::npos) {
        return false;
    }
    const auto field = fieldNamed(word.substr(0, equals));
    const auto number = parseNumber(word.substr(equals + 1));
    if (!field || !number) {
        return false;
    }
    if (!downOnly) {
        link.up.**field = *number;
    }
    if (!upOnly) {
        link.down.**field = *number;
    }
    return true;
}
