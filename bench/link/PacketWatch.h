// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <span>

/// Counts what TCP connections over IPv4 do, by looking at their packets where they cross the link.
class PacketWatch
{
public:
    enum class Direction
    {
        up,
        down
    };

    struct Counters
    {
        /// SYN packets that are no answer; one that is sent again counts again.
        std::uint64_t connections = 0;
        std::uint64_t clientHellos = 0; ///< TLS handshakes begun by the near end
        std::uint64_t turns = 0; ///< times that the near end sends data first or after data of the far end
    };

    void see(std::span<const std::byte> packet, Direction direction);

    [[nodiscard]] const Counters &counters() const { return m_counters; }

    /// Zeroes the counters; what is known of open connections is kept.
    void resetCounters() { m_counters = {}; }

private:
    /// By the near and the far port and both addresses' last two bytes.
    std::map<std::uint64_t, Direction> m_lastData;
    Counters m_counters;
};
