// SPDX-License-Identifier: MIT
#include "appserver/html_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>

namespace appserver {

namespace {

constexpr std::size_t maxFields = 64;

std::optional<std::string> decodePercent(std::string_view text)
{
    std::string decoded;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            decoded += text[i] == '+' ? ' ' : text[i];
            continue;
        }
        unsigned int byte = 0;
        const std::string_view digits = text.substr(i + 1, 2);
        const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), byte, 16);
        if (digits.size() != 2 || error != std::errc() || end != digits.data() + 2) {
            return std::nullopt;
        }
        decoded += static_cast<char>(byte);
        i += 2;
    }
    return decoded;
}

} // namespace

std::string escapedHtml(std::string_view text)
{
    std::string escaped;
    for (const char c : text) {
        switch (c) {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        case '"':
            escaped += "&quot;";
            break;
        case '\'':
            escaped += "&#39;";
            break;
        default:
            escaped += c;
        }
    }
    return escaped;
}

std::optional<FormFields> parseForm(std::string_view text)
{
    FormFields fields;
    while (!text.empty()) {
        const std::string_view pair = text.substr(0, text.find('&'));
        text.remove_prefix(std::min(pair.size() + 1, text.size()));
        const auto equals = std::min(pair.find('='), pair.size());
        const auto name = decodePercent(pair.substr(0, equals));
        const auto value = decodePercent(pair.substr(std::min(equals + 1, pair.size())));
        if (!name || !value || fields.size() >= maxFields) {
            return std::nullopt;
        }
        fields.emplace(*name, *value);
    }
    return fields;
}

std::string fieldOf(const FormFields &fields, std::string_view name)
{
    const auto found = fields.find(name);
    return found == fields.end() ? std::string() : found->second;
}

std::string humanBytes(std::uint64_t bytes)
{
    constexpr std::array units{"bytes", "kB", "MB", "GB"};
    if (bytes < 1000) {
        return std::to_string(bytes) + ' ' + units[0];
    }
    double amount = static_cast<double>(bytes);
    std::size_t unit = 0;
    for (; amount >= 999.95 && unit + 1 < units.size(); ++unit) {
        amount /= 1000;
    }
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.1f %s", amount, units[unit]);
    return text.data();
}

} // namespace appserver
