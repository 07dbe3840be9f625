// SPDX-License-Identifier: MIT
#include "backend/agent_run.h"
#include "tests/unit/backend/AgentTest.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// A display that opens or not, question by question; after the last answer it stays as it is.
class AgentDisplay : public AgentTest
{
protected:
    int runWith(std::vector<bool> answers, int displayWaitMs = 0)
    {
        backend::AgentOptions settings = options();
        settings.displayWaitMs = displayWaitMs;
        const auto next = [&] {
            const bool opens = answers.front();
            if (answers.size() > 1) {
                answers.erase(answers.begin());
            }
            return opens;
        };
        return backend::runAgent(settings, {.displayOpens = next, .tellUser = [](const std::string &) {}});
    }
};

TEST_F(AgentDisplay, that_opens_in_time_is_waited_for)
{
    spool("1-7-0");
    EXPECT_EQ(runWith({false, true}, 60'000), 0);
    EXPECT_THAT(files(folder()), IsEmpty());
}

TEST_F(AgentDisplay, that_does_not_open_is_waited_for_only_so_long)
{
    spool("1-7-0");
    EXPECT_EQ(runWith({false}, 1), 1);
    EXPECT_THAT(files(folder()), ElementsAre("1-7-0.document", "1-7-0.ticket"));
}

TEST_F(AgentDisplay, that_closes_between_two_jobs_leaves_the_second_one_waiting)
{
    spool("1-7-0", "first");
    spool("2-8-0", "second");
    EXPECT_EQ(runWith({true, true, false}), 1); // asked before the first claim twice
    EXPECT_THAT(files(folder()), ElementsAre("2-8-0.document", "2-8-0.ticket"));
}

TEST_F(AgentDisplay, is_not_asked_for_when_nothing_waits)
{
    EXPECT_EQ(runWith({false}), 0);
}

} // namespace
