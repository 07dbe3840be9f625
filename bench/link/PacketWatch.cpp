// SPDX-License-Identifier: MIT
#include "bench/link/PacketWatch.h"

#include <optional>

namespace {

using Bytes = std::span<const std::byte>;

struct Segment
{
    std::uint64_t connection; ///< the same in both directions
    bool opens;               ///< SYN without ACK
    Bytes data;
};

std::size_t byteAt(Bytes bytes, std::size_t index)
{
    return std::to_integer<std::size_t>(bytes[index]);
}

std::size_t shortAt(Bytes bytes, std::size_t index)
{
    return byteAt(bytes, index) << 8U | byteAt(bytes, index + 1);
}

/// RFC 791 and RFC 9293. An empty answer: not TCP over IPv4, or cut short.
std::optional<Segment> parseSegment(Bytes packet, PacketWatch::Direction direction)
{
    constexpr std::size_t shortestHeader = 20;
    constexpr std::size_t tcp = 6;
    if (packet.size() < shortestHeader || byteAt(packet, 0) >> 4U != 4 || byteAt(packet, 9) != tcp) {
        return std::nullopt;
    }
    const auto ipHeader = (byteAt(packet, 0) & 0x0FU) * 4;
    if (packet.size() < ipHeader + shortestHeader) {
        return std::nullopt;
    }
    const auto segment = packet.subspan(ipHeader);
    const auto tcpHeader = (byteAt(segment, 12) >> 4U) * 4;
    if (segment.size() < tcpHeader) {
        return std::nullopt;
    }
    const bool up = direction == PacketWatch::Direction::up;
    const auto source = std::uint64_t{shortAt(packet, 14)} << 16U | shortAt(segment, 0);
    const auto target = std::uint64_t{shortAt(packet, 18)} << 16U | shortAt(segment, 2);
    constexpr std::size_t synchronise = 0x02;
    constexpr std::size_t acknowledge = 0x10;
    const auto flags = byteAt(segment, 13);
    return Segment{up ? source << 32U | target : target << 32U | source,
                   (flags & (synchronise | acknowledge)) == synchronise, segment.subspan(tcpHeader)};
}

/// A TLS record of type handshake that begins with a ClientHello (RFC 8446, sections 4 and 5.1).
bool beginsHandshake(Bytes data)
{
    return data.size() > 5 && byteAt(data, 0) == 0x16 && byteAt(data, 1) == 0x03 && byteAt(data, 5) == 0x01;
}

} // namespace

void PacketWatch::see(Bytes packet, Direction direction)
{
    const auto segment = parseSegment(packet, direction);
    if (!segment) {
        return;
    }
    if (segment->opens) {
        ++m_counters.connections;
        m_lastData.erase(segment->connection);
    }
    if (segment->data.empty()) {
        return;
    }
    if (direction == Direction::up) {
        const auto last = m_lastData.find(segment->connection);
        m_counters.turns += last == m_lastData.end() || last->second == Direction::down ? 1U : 0U;
        m_counters.clientHellos += beginsHandshake(segment->data) ? 1U : 0U;
    }
    m_lastData.insert_or_assign(segment->connection, direction);
}
