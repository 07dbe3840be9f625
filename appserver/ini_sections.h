// SPDX-License-Identifier: MIT
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// The configuration file's syntax: `[Section]`, `Key=value`, comments on lines of their own that begin with
/// `;` or `#`. A value reaches to the end of its line, blanks around it are dropped, and so are double quotes
/// around all of it. Nothing else is special: `;` inside a value belongs to it.
namespace appserver {

struct IniSection
{
    std::string name;
    std::vector<std::pair<std::string, std::string>> entries; ///< in the order of the file, keys may repeat

    /// The last value of a key, or the fallback.
    [[nodiscard]] std::string value(std::string_view key, std::string_view fallback = {}) const;
    /// All values of a key, in order.
    [[nodiscard]] std::vector<std::string> values(std::string_view key) const;
};

/// Says which line is wrong, or which value.
class ConfigurationError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Sections of one name are joined. Throws ConfigurationError.
[[nodiscard]] std::vector<IniSection> parseIni(std::string_view text);

[[nodiscard]] std::string_view trimmed(std::string_view text);

} // namespace appserver
