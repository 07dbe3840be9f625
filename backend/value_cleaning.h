// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace backend {

/// No value that is handed to the program is longer than this, in bytes.
inline constexpr std::size_t maxValueBytes = 1024;

/// Makes a value that a stranger chose (title, user, host, queue) safe as one argument of the program, which
/// splits its command line at double quotes, takes words that begin with "-" for options and writes values
/// between bars of commands in which "##" begins the name of a variable:
///  - bytes that are not UTF-8 (RFC 3629) become U+FFFD;
///  - control characters, line and paragraph separators, marks that turn the writing direction, and "|" go;
///  - a double quote becomes an apostrophe;
///  - what is longer than maxValueBytes is cut between two characters;
///  - a value that begins with "-" or "##" gets a blank before it.
/// Cleaning a clean value changes nothing.
[[nodiscard]] std::string cleanValue(std::string_view value);

} // namespace backend
