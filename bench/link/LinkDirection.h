// SPDX-License-Identifier: MIT
#pragma once

#include "bench/link/link_settings.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

/// One direction of a link: a drop-tail queue, a line that sends at a fixed rate, and the way to the other
/// end. Knows no clock and no device: the time of every call is given, and must not go backwards.
class LinkDirection
{
public:
    using Time = std::chrono::steady_clock::time_point;
    using Packet = std::vector<std::byte>;

    struct Counters
    {
        std::uint64_t packets = 0; ///< taken, not dropped
        std::uint64_t bytes = 0;
        std::uint64_t dropped = 0;
        /// The most that lay in front of the line, the packet being sent included.
        std::int64_t peakQueueBytes = 0;
    };

    /// Holds for packets that arrive from now on.
    void setSettings(const LinkSettings &settings) { m_settings = settings; }

    /// Takes a packet, or drops it when the queue has no room for it.
    void arrive(Packet packet, Time now);

    /// When the next packet leaves at the other end; none while the direction is empty.
    [[nodiscard]] std::optional<Time> nextDelivery() const;

    /// The next packet that is due at `now`.
    [[nodiscard]] std::optional<Packet> takeDue(Time now);

    [[nodiscard]] const Counters &counters() const { return m_counters; }

    void resetCounters() { m_counters = {}; }

private:
    struct Entry
    {
        Packet packet;
        Time sent;      ///< its last bit is on the line
        Time delivered; ///< and at the other end
    };

    void forgetSent(Time now);
    [[nodiscard]] bool hasRoomFor(std::int64_t bytes) const;

    LinkSettings m_settings;
    Counters m_counters;
    std::deque<Entry> m_entries;
    std::size_t m_sentEntries = 0; ///< the first entries of m_entries: sent, not delivered yet
    std::int64_t m_queuedBytes = 0;
    Time m_lineFree{};
};
