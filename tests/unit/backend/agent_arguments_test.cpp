// SPDX-License-Identifier: MIT
#include "backend/agent_arguments.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

TEST(AgentArguments, want_a_mode_and_take_replacements_for_the_defaults)
{
    backend::AgentOptions options{.spoolRoot = "/a", .program = "/b"};
    const std::vector<std::string> good = {"--watch", "--spool",        "/c", "--program",
                                           "/d",      "--display-wait", "7"};
    EXPECT_TRUE(backend::parseAgentArguments(good, options));
    EXPECT_TRUE(options.watch);
    EXPECT_EQ(options.spoolRoot, "/c");
    EXPECT_EQ(options.program, "/d");
    EXPECT_EQ(options.displayWaitMs, 7000);
    EXPECT_TRUE(
        backend::parseAgentArguments(std::vector<std::string>{"--once", "--display-wait", "86400"}, options));
    EXPECT_FALSE(options.watch);
    EXPECT_EQ(options.displayWaitMs, 86'400'000);
    for (const std::vector<std::string> &bad :
         std::vector<std::vector<std::string>>{{},
                                               {"--spool", "/c"},
                                               {"--once", "--spool"},
                                               {"--once", "--more", "x"},
                                               {"--once", "--display-wait", "x"},
                                               {"--once", "--display-wait", "-1"},
                                               {"--once", "--display-wait", "86401"}}) {
        EXPECT_FALSE(backend::parseAgentArguments(bad, options));
    }
}

} // namespace
