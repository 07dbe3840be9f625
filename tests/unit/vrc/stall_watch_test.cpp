// SPDX-License-Identifier: MIT
#include "vrc/StallWatch.h"

#include <gtest/gtest.h>

using namespace std::chrono_literals;
using vrc::Patience;
using vrc::StallWatch;

namespace {

constexpr vrc::Timeouts limits{30s, 600s};

/// An exchange that began at zero, and is looked at now and then.
class WatchedExchange : public ::testing::Test
{
protected:
    WatchedExchange() { m_watch.start(StallWatch::Time()); }

    bool isSilentAt(std::chrono::seconds time, const StallWatch::Signs &signs,
                    Patience patience = Patience::stall)
    {
        return m_watch.isSilent(signs, patience, limits, StallWatch::Time() + time);
    }

    StallWatch m_watch;
};

} // namespace

TEST_F(WatchedExchange, nothing_that_moves_is_silence_after_the_stall_time)
{
    EXPECT_FALSE(isSilentAt(29s, {true, false, 0, 0}));
    EXPECT_TRUE(isSilentAt(30s, {true, false, 0, 0}));
}

TEST_F(WatchedExchange, every_byte_begins_the_stall_time_anew)
{
    EXPECT_FALSE(isSilentAt(29s, {true, false, 1, 0}));
    EXPECT_FALSE(isSilentAt(58s, {true, false, 1, 0}));
    EXPECT_TRUE(isSilentAt(59s, {true, false, 1, 0}));
}

TEST_F(WatchedExchange, a_backlog_that_drains_is_no_silence)
{
    EXPECT_FALSE(isSilentAt(10s, {true, false, 500, 0}));
    EXPECT_FALSE(isSilentAt(35s, {true, false, 700, 0}));
    EXPECT_FALSE(isSilentAt(60s, {true, false, 900, 0}));
}

TEST_F(WatchedExchange, while_it_connects_the_transport_library_minds_the_time)
{
    EXPECT_FALSE(isSilentAt(3600s, {false, false, 0, 0}));
    EXPECT_FALSE(isSilentAt(3629s, {true, false, 0, 0}));
    EXPECT_TRUE(isSilentAt(3630s, {true, false, 0, 0}));
}

TEST_F(WatchedExchange, a_procedure_may_take_the_answer_time)
{
    EXPECT_FALSE(isSilentAt(599s, {true, true, 0, 0}, Patience::procedure));
    EXPECT_TRUE(isSilentAt(600s, {true, true, 0, 0}, Patience::procedure));
}

TEST_F(WatchedExchange, an_answer_whose_bytes_make_no_frame_is_given_up)
{
    std::uint64_t bytes = 0;
    for (auto time = 20s; time < 600s; time += 20s) {
        EXPECT_FALSE(isSilentAt(time, {true, true, ++bytes, 0}));
    }
    EXPECT_TRUE(isSilentAt(600s, {true, true, ++bytes, 0}));
}

TEST_F(WatchedExchange, every_frame_of_an_answer_begins_the_answer_time_anew)
{
    EXPECT_FALSE(isSilentAt(20s, {true, true, 1, 1}));
    std::uint64_t bytes = 1;
    for (auto time = 40s; time < 620s; time += 20s) {
        EXPECT_FALSE(isSilentAt(time, {true, true, ++bytes, 1}));
    }
    EXPECT_TRUE(isSilentAt(620s, {true, true, ++bytes, 1}));
}

TEST_F(WatchedExchange, the_caller_s_own_pauses_do_not_count)
{
    m_watch.resume(StallWatch::Time() + 100s);
    EXPECT_FALSE(isSilentAt(129s, {true, false, 0, 0}));
    EXPECT_TRUE(isSilentAt(130s, {true, false, 0, 0}));
}
