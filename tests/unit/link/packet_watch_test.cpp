// SPDX-License-Identifier: MIT
#include "bench/link/PacketWatch.h"

#include <gtest/gtest.h>

#include <string_view>
#include <vector>

namespace {

using Direction = PacketWatch::Direction;

constexpr unsigned synchronise = 0x02;
constexpr unsigned acknowledge = 0x10;
constexpr std::string_view clientHello{"\x16\x03\x01\x02\x00\x01", 6};
constexpr std::string_view serverHello{"\x16\x03\x03\x02\x00\x02", 6};

/// IPv4 and TCP headers without options; ports 40000 (near) and 443 (far).
std::vector<std::byte> segment(Direction direction, unsigned flags, std::string_view data = {})
{
    std::vector<std::byte> packet(40);
    packet[0] = std::byte{0x45};
    packet[9] = std::byte{6};
    const bool up = direction == Direction::up;
    const auto putShort = [&](std::size_t index, unsigned value) {
        packet[index] = static_cast<std::byte>(value >> 8U);
        packet[index + 1] = static_cast<std::byte>(value & 0xFFU);
    };
    putShort(14, up ? 1 : 2);
    putShort(18, up ? 2 : 1);
    putShort(20, up ? 40000 : 443);
    putShort(22, up ? 443 : 40000);
    packet[32] = std::byte{0x50};
    packet[33] = static_cast<std::byte>(flags);
    for (const char byte : data) {
        packet.push_back(static_cast<std::byte>(byte));
    }
    return packet;
}

class PacketWatchTest : public testing::Test
{
protected:
    void up(unsigned flags, std::string_view data = {})
    {
        watch.see(segment(Direction::up, flags, data), Direction::up);
    }

    void down(unsigned flags, std::string_view data = {})
    {
        watch.see(segment(Direction::down, flags, data), Direction::down);
    }

    PacketWatch watch;
};

TEST_F(PacketWatchTest, a_connection_is_counted_by_its_first_packet_alone)
{
    up(synchronise);
    down(synchronise | acknowledge);
    up(acknowledge);
    EXPECT_EQ(watch.counters().connections, 1U);
    EXPECT_EQ(watch.counters().turns, 0U);
}

TEST_F(PacketWatchTest, only_the_hello_of_a_client_is_a_handshake)
{
    up(acknowledge, clientHello);
    down(acknowledge, serverHello);
    up(acknowledge, "\x17\x03\x03 data");
    EXPECT_EQ(watch.counters().clientHellos, 1U);
}

TEST_F(PacketWatchTest, a_turn_is_data_that_follows_data_of_the_other_end)
{
    for (int count = 0; count < 3; ++count) {
        up(acknowledge, "request");
        up(acknowledge, "more of it");
        down(acknowledge);
        down(acknowledge, "answer");
    }
    EXPECT_EQ(watch.counters().turns, 3U);
}

TEST_F(PacketWatchTest, what_is_not_tcp_or_is_cut_short_is_not_counted)
{
    auto whole = segment(Direction::up, synchronise);
    for (std::size_t length = 0; length < whole.size(); ++length) {
        watch.see(std::span(whole).first(length), Direction::up);
    }
    auto longHeader = whole;
    longHeader[32] = std::byte{0xF0}; // says 60 bytes, has 20
    watch.see(longHeader, Direction::up);
    whole[9] = std::byte{17};
    watch.see(whole, Direction::up);
    EXPECT_EQ(watch.counters().connections, 0U);
}

TEST_F(PacketWatchTest, a_reset_forgets_no_open_connection)
{
    up(acknowledge, "first half");
    watch.resetCounters();
    up(acknowledge, "second half");
    EXPECT_EQ(watch.counters().turns, 0U);
}

} // namespace
