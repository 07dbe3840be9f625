// SPDX-License-Identifier: MIT
#include "bench/link/link_settings.h"

#include <gtest/gtest.h>

namespace {

TEST(LinkSettings, a_setting_without_a_direction_holds_for_both)
{
    LinkPair link;
    ASSERT_TRUE(applyLinkSetting("rate-kbit=100000", link));
    EXPECT_EQ(link.up.rateKbit, 100'000);
    EXPECT_EQ(link.down.rateKbit, 100'000);
}

TEST(LinkSettings, a_prefix_names_one_direction)
{
    LinkPair link;
    ASSERT_TRUE(applyLinkSetting("up.delay-us=7", link));
    ASSERT_TRUE(applyLinkSetting("down.queue-bytes=8", link));
    EXPECT_EQ(link.up.delayUs, 7);
    EXPECT_EQ(link.down.delayUs, 0);
    EXPECT_EQ(link.up.queueBytes, 0);
    EXPECT_EQ(link.down.queueBytes, 8);
}

TEST(LinkSettings, anything_else_is_refused_and_changes_nothing)
{
    for (const char *word : {"", "delay-us", "delay-us=", "delay-us=-1", "delay-us=1x", "delay-us= 1",
                             "delay=1", "left.delay-us=1", "delay-us=1000000000001", "up.down.delay-us=1"}) {
        LinkPair link;
        EXPECT_FALSE(applyLinkSetting(word, link)) << word;
        EXPECT_EQ(link.up.delayUs + link.down.delayUs, 0) << word;
    }
}

} // namespace
