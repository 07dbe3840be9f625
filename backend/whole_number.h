// SPDX-License-Identifier: MIT
#pragma once

#include <charconv>
#include <optional>
#include <string_view>

namespace backend {

/// The decimal number that a text is from its first to its last character; nothing when it is none or does
/// not fit into the type.
template <typename Number>
[[nodiscard]] std::optional<Number> wholeNumber(std::string_view text)
{
    Number number{};
    const char *end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stopped == end ? std::optional(number) : std::nullopt;
}

} // namespace backend
