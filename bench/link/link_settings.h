// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string_view>

/// What one direction of the link does to packets. The rate is that of IP bytes (headers included).
struct LinkSettings
{
    std::int64_t delayUs = 0;  ///< one way
    std::int64_t rateKbit = 0; ///< 0: not limited
    /// Packets that would lie in front of the line beyond these are dropped; 0: no limit.
    std::int64_t queueBytes = 0;
    std::int64_t queuePackets = 0;
};

struct LinkPair
{
    LinkSettings up;   ///< near to far
    LinkSettings down; ///< far to near
};

/// Applies one word, `[up.|down.]NAME=NUMBER`, where NAME is delay-us, rate-kbit, queue-bytes or
/// queue-packets; without a prefix it applies to both directions. Returns false, and changes nothing, when
/// the word is none of these or the number is negative or not one.
[[nodiscard]] bool applyLinkSetting(std::string_view word, LinkPair &link);
