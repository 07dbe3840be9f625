// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace appserver {

/// The text with &, <, >, " and ' written as references: safe between tags and in quoted attributes.
[[nodiscard]] std::string escapedHtml(std::string_view text);

/// Fields of a form or a query (application/x-www-form-urlencoded); the first of a repeated field holds. No
/// value when a percent sign is followed by anything but two hexadecimal digits, or there are more than 64
/// fields.
using FormFields = std::map<std::string, std::string, std::less<>>;
[[nodiscard]] std::optional<FormFields> parseForm(std::string_view text);

[[nodiscard]] std::string fieldOf(const FormFields &fields, std::string_view name);

/// 1234567 as "1.2 MB".
[[nodiscard]] std::string humanBytes(std::uint64_t bytes);

} // namespace appserver
