// SPDX-License-Identifier: MIT
#pragma once

#include "appserver/ini_sections.h"

#include <charconv>
#include <chrono>
#include <string>
#include <string_view>
#include <vector>

namespace appserver {

/// Throws ConfigurationError, which names section and setting.
[[noreturn]] void rejectSetting(const IniSection &section, std::string_view key, const std::string &reason);

/// Reads the settings of one section and notices those that nobody asked for. A setting that is missing
/// leaves the target as it is. Throws ConfigurationError for a value of another kind.
class SectionReader
{
public:
    explicit SectionReader(const IniSection &section) : m_section(section) {}

    template <typename Number>
    void read(std::string_view key, Number &target, Number lowest, Number highest)
    {
        m_known.emplace_back(key);
        const std::string text = m_section.value(key);
        if (text.empty()) {
            return;
        }
        Number number{};
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
        if (error != std::errc() || end != text.data() + text.size() || number < lowest || number > highest) {
            rejectSetting(m_section, key,
                          "a whole number from " + std::to_string(lowest) + " to " + std::to_string(highest) +
                              " is wanted, not '" + text + "'");
        }
        target = number;
    }

    void read(std::string_view key, std::chrono::seconds &target);
    void read(std::string_view key, std::string &target);
    void read(std::string_view key, bool &target);
    /// Every value of a key that may repeat.
    void read(std::string_view key, std::vector<std::string> &target);

    /// Must be called last: a misspelt setting is an error and not a silent default.
    void finish() const;

private:
    const IniSection &m_section;
    std::vector<std::string> m_known;
};

} // namespace appserver
