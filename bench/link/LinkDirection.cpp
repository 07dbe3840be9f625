// SPDX-License-Identifier: MIT
#include "bench/link/LinkDirection.h"

#include <algorithm>
#include <utility>

namespace {

std::int64_t sizeOf(const LinkDirection::Packet &packet)
{
    return static_cast<std::int64_t>(packet.size());
}

std::chrono::nanoseconds timeOnLine(std::int64_t bytes, std::int64_t rateKbit)
{
    constexpr std::int64_t nanosecondsTimesKbitPerByte = 8'000'000;
    return std::chrono::nanoseconds(rateKbit == 0 ? 0 : bytes * nanosecondsTimesKbitPerByte / rateKbit);
}

} // namespace

void LinkDirection::arrive(Packet packet, Time now)
{
    forgetSent(now);
    const auto bytes = sizeOf(packet);
    if (!hasRoomFor(bytes)) {
        ++m_counters.dropped;
        return;
    }
    m_lineFree = std::max(m_lineFree, now) + timeOnLine(bytes, m_settings.rateKbit);
    // A delay that was made shorter does not let packets overtake each other.
    const auto earliest = m_entries.empty() ? Time{} : m_entries.back().delivered;
    const auto delivered = std::max(m_lineFree + std::chrono::microseconds(m_settings.delayUs), earliest);
    m_entries.push_back({std::move(packet), m_lineFree, delivered});
    m_queuedBytes += bytes;
    ++m_counters.packets;
    m_counters.bytes += static_cast<std::uint64_t>(bytes);
    m_counters.peakQueueBytes = std::max(m_counters.peakQueueBytes, m_queuedBytes);
}

std::optional<LinkDirection::Time> LinkDirection::nextDelivery() const
{
    if (m_entries.empty()) {
        return std::nullopt;
    }
    return m_entries.front().delivered;
}

std::optional<LinkDirection::Packet> LinkDirection::takeDue(Time now)
{
    forgetSent(now);
    if (m_entries.empty() || m_entries.front().delivered > now) {
        return std::nullopt;
    }
    auto packet = std::move(m_entries.front().packet);
    m_entries.pop_front();
    --m_sentEntries;
    return packet;
}

void LinkDirection::forgetSent(Time now)
{
    while (m_sentEntries < m_entries.size() && m_entries[m_sentEntries].sent <= now) {
        m_queuedBytes -= sizeOf(m_entries[m_sentEntries].packet);
        ++m_sentEntries;
    }
}

bool LinkDirection::hasRoomFor(std::int64_t bytes) const
{
    const auto queuedPackets = static_cast<std::int64_t>(m_entries.size() - m_sentEntries);
    const bool bytesFit = m_settings.queueBytes == 0 || m_queuedBytes + bytes <= m_settings.queueBytes;
    const bool packetsFit = m_settings.queuePackets == 0 || queuedPackets < m_settings.queuePackets;
    return bytesFit && packetsFit;
}
