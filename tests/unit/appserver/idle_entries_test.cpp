// SPDX-License-Identifier: MIT
#include "appserver/IdleEntries.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace appserver {
namespace {

using namespace std::chrono_literals;

constexpr auto anything = [](const std::string &) { return true; };
constexpr auto nothing = [](const std::string &) { return false; };

class IdleEntriesTest : public testing::Test
{
protected:
    [[nodiscard]] bool holds(std::string_view key) { return m_entries.use(key, 1h, anything) != nullptr; }

    IdleEntries<std::string, std::string> m_entries;
};

TEST_F(IdleEntriesTest, finds_what_was_added_and_nothing_else)
{
    m_entries.add("a", "first", 10);
    ASSERT_TRUE(holds("a"));
    EXPECT_EQ(*m_entries.use(std::string_view("a"), 1h, anything), "first");
    EXPECT_FALSE(holds("b"));
    m_entries.remove("a");
    EXPECT_FALSE(holds("a"));
}

TEST_F(IdleEntriesTest, gives_the_room_of_the_entry_that_was_used_longest_ago)
{
    m_entries.add("b", "", 2);
    m_entries.add("a", "", 2);
    ASSERT_TRUE(holds("b"));
    m_entries.add("c", "", 2);
    EXPECT_FALSE(holds("a"));
    EXPECT_TRUE(holds("b"));
    EXPECT_TRUE(holds("c"));
}

TEST_F(IdleEntriesTest, takes_a_look_that_is_refused_for_no_use)
{
    m_entries.add("b", "", 2);
    m_entries.add("a", "", 2);
    EXPECT_EQ(m_entries.use(std::string_view("b"), 1h, nothing), nullptr);
    m_entries.add("c", "", 2);
    EXPECT_FALSE(holds("b"));
    EXPECT_TRUE(holds("a"));
}

TEST_F(IdleEntriesTest, forgets_what_nobody_used_for_so_long)
{
    m_entries.add("a", "", 10);
    m_entries.add("b", "", 10);
    EXPECT_EQ(m_entries.use(std::string_view("a"), 0s, anything), nullptr);
    EXPECT_FALSE(holds("a"));
    m_entries.removeIdle(1h);
    EXPECT_TRUE(holds("b"));
    m_entries.removeIdle(0s);
    EXPECT_FALSE(holds("b"));
}

TEST_F(IdleEntriesTest, takes_one_entry_where_there_is_room_for_none)
{
    m_entries.add("a", "", 0);
    EXPECT_TRUE(holds("a"));
}

} // namespace
} // namespace appserver
