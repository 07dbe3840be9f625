// SPDX-License-Identifier: MIT
#include "appserver/SectionReader.h"

#include <algorithm>

namespace appserver {

void rejectSetting(const IniSection &section, std::string_view key, const std::string &reason)
{
    throw ConfigurationError("[" + section.name + "] " + std::string(key) + ": " + reason);
}

void SectionReader::read(std::string_view key, std::chrono::seconds &target)
{
    int seconds = static_cast<int>(target.count());
    read(key, seconds, 1, 30 * 24 * 3600);
    target = std::chrono::seconds(seconds);
}

void SectionReader::read(std::string_view key, std::string &target)
{
    m_known.emplace_back(key);
    target = m_section.value(key, target);
}

void SectionReader::read(std::string_view key, bool &target)
{
    m_known.emplace_back(key);
    const std::string text = m_section.value(key, target ? "yes" : "no");
    if (text != "yes" && text != "no") {
        rejectSetting(m_section, key, "yes or no is wanted, not '" + text + "'");
    }
    target = text == "yes";
}

void SectionReader::read(std::string_view key, std::vector<std::string> &target)
{
    m_known.emplace_back(key);
    target = m_section.values(key);
}

void SectionReader::finish() const
{
    for (const auto &[key, value] : m_section.entries) {
        if (std::ranges::find(m_known, key) == m_known.end()) {
            rejectSetting(m_section, key, "there is no such setting");
        }
    }
}

} // namespace appserver
