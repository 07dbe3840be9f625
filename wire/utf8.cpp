// SPDX-License-Identifier: MIT
#include "wire/utf8.h"

#include <cstddef>
#include <cstdint>

namespace wire {
namespace {

struct Lead
{
    std::size_t followers;
    /// Range of the byte after the lead: excludes overlong forms, surrogates, too large values.
    std::uint8_t firstLow;
    std::uint8_t firstHigh;
};

constexpr Lead noLead{0, 0, 0};

Lead leadOf(std::uint8_t byte)
{
    if (byte >= 0xc2 && byte <= 0xdf) {
        return {1, 0x80, 0xbf};
    }
    if (byte >= 0xe0 && byte <= 0xef) {
        return {2, static_cast<std::uint8_t>(byte == 0xe0 ? 0xa0 : 0x80),
                static_cast<std::uint8_t>(byte == 0xed ? 0x9f : 0xbf)};
    }
    if (byte >= 0xf0 && byte <= 0xf4) {
        return {3, static_cast<std::uint8_t>(byte == 0xf0 ? 0x90 : 0x80),
                static_cast<std::uint8_t>(byte == 0xf4 ? 0x8f : 0xbf)};
    }
    return noLead;
}

bool followersFit(std::string_view bytes, const Lead &lead)
{
    for (std::size_t i = 0; i < lead.followers; ++i) {
        const auto byte = static_cast<std::uint8_t>(bytes[i]);
        const std::uint8_t low = i == 0 ? lead.firstLow : 0x80;
        const std::uint8_t high = i == 0 ? lead.firstHigh : 0xbf;
        if (byte < low || byte > high) {
            return false;
        }
    }
    return true;
}

} // namespace

bool isText(std::string_view bytes)
{
    while (!bytes.empty()) {
        const auto byte = static_cast<std::uint8_t>(bytes.front());
        bytes.remove_prefix(1);
        if (byte == 0) {
            return false;
        }
        if (byte < 0x80) {
            continue;
        }
        const Lead lead = leadOf(byte);
        if (lead.followers == 0 || lead.followers > bytes.size() || !followersFit(bytes, lead)) {
            return false;
        }
        bytes.remove_prefix(lead.followers);
    }
    return true;
}

} // namespace wire
