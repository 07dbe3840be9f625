// SPDX-License-Identifier: MIT
#include "bench/link/LinkDirection.h"

#include <gtest/gtest.h>

namespace {

using namespace std::chrono_literals;

LinkDirection::Time at(std::chrono::microseconds time)
{
    return LinkDirection::Time{} + 1h + time;
}

LinkDirection linkWith(const LinkSettings &settings)
{
    LinkDirection link;
    link.setSettings(settings);
    return link;
}

LinkDirection::Packet packetOf(std::size_t bytes)
{
    return LinkDirection::Packet(bytes);
}

TEST(LinkDirection, an_empty_link_delivers_nothing)
{
    LinkDirection link;
    EXPECT_FALSE(link.nextDelivery());
    EXPECT_FALSE(link.takeDue(at(0us)));
}

TEST(LinkDirection, a_packet_arrives_after_its_time_on_the_line_and_the_delay)
{
    auto link = linkWith({.delayUs = 50'000, .rateKbit = 1'000});
    link.arrive(packetOf(1'000), at(0us)); // 8 ms at 1 Mbit/s
    EXPECT_EQ(link.nextDelivery(), at(58'000us));
    EXPECT_FALSE(link.takeDue(at(57'999us)));
    const auto packet = link.takeDue(at(58'000us));
    ASSERT_TRUE(packet);
    EXPECT_EQ(packet->size(), 1'000U);
}

TEST(LinkDirection, packets_follow_each_other_at_the_rate_of_the_line)
{
    auto link = linkWith({.delayUs = 10'000, .rateKbit = 1'000});
    for (int count = 0; count < 3; ++count) {
        link.arrive(packetOf(1'000), at(0us));
    }
    for (const auto delivery : {18'000us, 26'000us, 34'000us}) {
        EXPECT_EQ(link.nextDelivery(), at(delivery));
        EXPECT_TRUE(link.takeDue(at(delivery)));
    }
}

TEST(LinkDirection, a_line_that_was_idle_saves_nothing_up)
{
    auto link = linkWith({.rateKbit = 1'000});
    link.arrive(packetOf(1'000), at(0us));
    ASSERT_TRUE(link.takeDue(at(8'000us)));
    link.arrive(packetOf(1'000), at(1'000'000us));
    EXPECT_EQ(link.nextDelivery(), at(1'008'000us));
}

TEST(LinkDirection, a_full_queue_drops_what_arrives_last)
{
    auto link = linkWith({.rateKbit = 1'000, .queueBytes = 2'500});
    for (int count = 0; count < 3; ++count) {
        link.arrive(packetOf(1'000), at(0us));
    }
    EXPECT_EQ(link.counters().packets, 2U);
    EXPECT_EQ(link.counters().dropped, 1U);
    EXPECT_EQ(link.counters().peakQueueBytes, 2'000);
}

TEST(LinkDirection, a_queue_counted_in_packets_drops_too)
{
    auto link = linkWith({.rateKbit = 1'000, .queuePackets = 2});
    for (int count = 0; count < 5; ++count) {
        link.arrive(packetOf(10), at(0us));
    }
    EXPECT_EQ(link.counters().dropped, 3U);
}

TEST(LinkDirection, a_packet_on_its_way_takes_no_room_in_the_queue)
{
    auto link = linkWith({.delayUs = 100'000, .rateKbit = 1'000, .queueBytes = 1'000});
    link.arrive(packetOf(1'000), at(0us));
    link.arrive(packetOf(1'000), at(8'000us)); // the first has just left the line
    EXPECT_EQ(link.counters().dropped, 0U);
}

TEST(LinkDirection, a_shorter_delay_lets_no_packet_overtake_another)
{
    auto link = linkWith({.delayUs = 100'000});
    link.arrive(packetOf(1), at(0us));
    link.setSettings({.delayUs = 1'000});
    link.arrive(packetOf(2), at(0us));
    EXPECT_EQ(link.takeDue(at(100'000us))->size(), 1U);
    EXPECT_EQ(link.takeDue(at(100'000us))->size(), 2U);
}

} // namespace
