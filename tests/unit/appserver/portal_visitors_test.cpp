// SPDX-License-Identifier: MIT
#include "appserver/PortalVisitors.h"

#include <gtest/gtest.h>

namespace appserver {
namespace {

using namespace std::chrono_literals;

class PortalVisitorsTest : public ::testing::Test
{
protected:
    PortalVisitorsTest() { initialiseSecrets(); }

    PortalVisitors visitors;
};

TEST_F(PortalVisitorsTest, a_visitor_is_known_by_the_cookie_alone)
{
    const PortalVisitor ada = visitors.enter("ada", 10);
    const PortalVisitor bob = visitors.enter("bob", 10);
    EXPECT_EQ(visitors.find(ada.cookie, 1h)->name, "ada");
    EXPECT_EQ(visitors.find(bob.cookie, 1h)->name, "bob");
    EXPECT_FALSE(visitors.find(ada.formToken, 1h));
    EXPECT_FALSE(visitors.find("", 1h));
    EXPECT_NE(ada.cookie, bob.cookie);
}

TEST_F(PortalVisitorsTest, who_leaves_is_unknown)
{
    const PortalVisitor ada = visitors.enter("ada", 10);
    visitors.leave(ada.cookie);
    EXPECT_FALSE(visitors.find(ada.cookie, 1h));
}

TEST_F(PortalVisitorsTest, who_was_idle_too_long_is_unknown)
{
    const PortalVisitor ada = visitors.enter("ada", 10);
    EXPECT_FALSE(visitors.find(ada.cookie, 0s));
    const PortalVisitor bob = visitors.enter("bob", 10);
    visitors.removeIdle(0s);
    EXPECT_FALSE(visitors.find(bob.cookie, 1h));
}

TEST_F(PortalVisitorsTest, the_one_idle_for_longest_makes_room)
{
    const PortalVisitor ada = visitors.enter("ada", 2);
    const PortalVisitor bob = visitors.enter("bob", 2);
    ASSERT_TRUE(visitors.find(ada.cookie, 1h));
    (void)visitors.enter("eve", 2);
    EXPECT_TRUE(visitors.find(ada.cookie, 1h));
    EXPECT_FALSE(visitors.find(bob.cookie, 1h));
}

} // namespace
} // namespace appserver
