// SPDX-License-Identifier: MIT
#include "appserver/ini_sections.h"

#include <algorithm>

namespace appserver {

namespace {

[[noreturn]] void rejectLine(int number, const char *reason)
{
    throw ConfigurationError("line " + std::to_string(number) + ": " + reason);
}

std::string_view unquoted(std::string_view value)
{
    if (value.size() >= 2 && value.front() == '"' && value.back() == '"') {
        return value.substr(1, value.size() - 2);
    }
    return value;
}

IniSection &sectionNamed(std::vector<IniSection> &sections, std::string_view name)
{
    const auto found = std::ranges::find(sections, name, &IniSection::name);
    if (found != sections.end()) {
        return *found;
    }
    return sections.emplace_back(IniSection{std::string(name), {}});
}

} // namespace

std::string IniSection::value(std::string_view key, std::string_view fallback) const
{
    for (auto entry = entries.rbegin(); entry != entries.rend(); ++entry) {
        if (entry->first == key) {
            return entry->second;
        }
    }
    return std::string(fallback);
}

std::vector<std::string> IniSection::values(std::string_view key) const
{
    std::vector<std::string> all;
    for (const auto &[entryKey, entryValue] : entries) {
        if (entryKey == key) {
            all.push_back(entryValue);
        }
    }
    return all;
}

std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view blanks = " \t\r";
    const auto first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::vector<IniSection> parseIni(std::string_view text)
{
    std::vector<IniSection> sections;
    std::string current;
    for (int number = 1; !text.empty(); ++number) {
        const auto end = std::min(text.find('\n'), text.size());
        const std::string_view line = trimmed(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
        if (line.empty() || line.front() == ';' || line.front() == '#') {
            continue;
        }
        if (line.front() == '[') {
            if (line.back() != ']' || line.size() < 3) {
                rejectLine(number, "a section is written [Name]");
            }
            current = trimmed(line.substr(1, line.size() - 2));
            sectionNamed(sections, current);
            continue;
        }
        const auto equals = line.find('=');
        if (equals == std::string_view::npos || equals == 0) {
            rejectLine(number, "a setting is written Key=value");
        }
        if (current.empty()) {
            rejectLine(number, "a setting stands before the first section");
        }
        sectionNamed(sections, current)
            .entries.emplace_back(trimmed(line.substr(0, equals)),
                                  unquoted(trimmed(line.substr(equals + 1))));
    }
    return sections;
}

} // namespace appserver
