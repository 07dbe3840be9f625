// SPDX-License-Identifier: MIT
#include "vrc/AnswerReader.h"
#include "vrc/Failure.h"

#include <gtest/gtest.h>

using vrc::AnswerReader;
using vrc::Expectation;

namespace {

template <class... Frames>
std::string frames(const Frames &...parts)
{
    std::string out;
    (wire::append(out, parts), ...);
    return out;
}

std::string value(const std::string &name, const wire::Value &content)
{
    std::string out;
    wire::appendValue(out, name, content);
    return out;
}

const std::string endFrame = frames(wire::CompleteFrame{5});
const std::string resultFrame = frames(wire::ResultFrame{5, "42"});

/// Commands 3 to 5, the last of which waits.
Expectation waiting()
{
    Expectation expectation;
    expectation.firstNumber = 3;
    expectation.lastNumber = expectation.waiting = 5;
    return expectation;
}

Expectation fetching()
{
    Expectation expectation = waiting();
    expectation.fetchedName = "F";
    return expectation;
}

Expectation calling()
{
    Expectation expectation = waiting();
    expectation.mayTravel = true;
    return expectation;
}

wire::ErrorFrame errorOf(std::uint64_t number)
{
    return {number, wire::makeError(wire::errors::unknownUser)};
}

/// 0: the answer was taken; else the code of LOCAL/REQUEST.
std::uint32_t codeFor(const Expectation &expectation, const std::string &bytes)
{
    AnswerReader reader(expectation);
    try {
        reader.take(bytes);
        reader.finish();
        return 0;
    } catch (const vrc::Failure &failure) {
        return failure.error().code;
    }
}

} // namespace

TEST(AnswerReader, tells_result_and_acknowledgement)
{
    AnswerReader reader(waiting());
    reader.take(frames(wire::AcknowledgedFrame{4}) + resultFrame + endFrame);
    reader.finish();
    EXPECT_EQ(reader.answer().result, "42");
    EXPECT_EQ(reader.answer().acknowledged, 4U);
    EXPECT_EQ(reader.framesTaken(), 3U);
}

TEST(AnswerReader, tells_the_failure_of_a_queued_command_from_that_of_the_waiting_one)
{
    AnswerReader reader(waiting());
    reader.take(frames(errorOf(4), errorOf(5)) + endFrame);
    reader.finish();
    EXPECT_TRUE(reader.answer().queuedError);
    EXPECT_TRUE(reader.answer().error);
    EXPECT_FALSE(reader.answer().requestError);
}

TEST(AnswerReader, takes_a_fetched_object)
{
    AnswerReader reader(fetching());
    reader.take(resultFrame + value("F", std::string(100'000, 'x')) + endFrame);
    ASSERT_EQ(reader.answer().objects.size(), 1U);
    EXPECT_EQ(reader.answer().objects[0].bytes.size(), 100'000U);
}

struct AnswerCase
{
    std::string name;
    Expectation expectation;
    std::string bytes;
    std::uint32_t code;
};

class AnswerTable : public testing::TestWithParam<AnswerCase>
{};

TEST_P(AnswerTable, has_this_outcome)
{
    EXPECT_EQ(codeFor(GetParam().expectation, GetParam().bytes), GetParam().code);
}

std::vector<AnswerCase> answerCases()
{
    Expectation hello = waiting();
    hello.isHello = true;
    Expectation query;
    query.isQuery = true;
    const wire::WelcomeFrame welcome{1, "abc", 1800, true};
    return {
        {"nothing", waiting(), "", 104},
        {"cut_in_a_frame", waiting(), resultFrame.substr(0, 9), 104},
        {"cut_before_the_end", waiting(), resultFrame, 104},
        {"html", waiting(), "<html><title>Log in</title></html>", 131},
        {"more_after_the_end", waiting(), resultFrame + endFrame + endFrame, 131},
        {"a_frame_of_requests", waiting(), frames(wire::QueryFrame{"x"}), 131},
        {"a_result_of_another", waiting(), frames(wire::ResultFrame{4, ""}) + endFrame, 131},
        {"two_results", waiting(), resultFrame + resultFrame + endFrame, 131},
        {"an_error_after_the_result", waiting(), resultFrame + frames(errorOf(5)) + endFrame, 131},
        {"an_error_of_another", waiting(), frames(errorOf(6)) + endFrame, 131},
        {"endless_errors", waiting(), frames(errorOf(3), errorOf(4)) + endFrame, 131},
        {"an_acknowledgement_of_another", waiting(), frames(wire::AcknowledgedFrame{6}) + endFrame, 131},
        {"an_acknowledgement_twice", waiting(),
         frames(wire::AcknowledgedFrame{3}, wire::AcknowledgedFrame{3}), 131},
        {"progress_unasked", waiting(), frames(wire::ProgressFrame{3, {}}) + endFrame, 131},
        {"progress", query, frames(wire::ProgressFrame{3, {}}) + endFrame, 0},
        {"welcome", hello, frames(welcome) + resultFrame + endFrame, 0},
        {"welcome_unasked", waiting(), frames(welcome) + resultFrame + endFrame, 131},
        {"welcome_twice", hello, frames(welcome, welcome), 131},
        {"welcome_to_another_version", hello, frames(wire::WelcomeFrame{2, "abc", 1, true}), 131},
        {"a_session_that_breaks_addresses", hello, frames(wire::WelcomeFrame{1, "a&CTRL=", 1, true}), 131},
        {"no_welcome", hello, resultFrame + endFrame, 131},
        {"an_object_unasked", waiting(), resultFrame + value("F", std::string("x")) + endFrame, 131},
        {"an_object_before_its_result", fetching(), value("F", std::string("x")) + resultFrame + endFrame,
         131},
        {"another_object", fetching(), resultFrame + value("G", std::string("x")) + endFrame, 131},
        {"an_object_twice", fetching(),
         resultFrame + value("F", std::string("x")) + value("F", std::string("x")), 131},
        {"an_object_cut_off", fetching(),
         resultFrame + value("F", std::string(70'000, 'x')).substr(0, 65559) + endFrame, 131},
        {"too_much_data", fetching(),
         resultFrame + value("F", std::string("x")) + std::string("D\0\0\0\1x", 6), 131},
        {"travelling_objects", calling(),
         resultFrame + value("A", std::string("x")) + value("B", std::int64_t{1}) + endFrame, 0},
        {"travelling_objects_that_are_too_large", calling(),
         resultFrame + value("A", std::string(65'536, 'x')) + value("B", std::int64_t{1}) + endFrame, 131},
    };
}

INSTANTIATE_TEST_SUITE_P(Table, AnswerTable, testing::ValuesIn(answerCases()),
                         [](const auto &row) { return row.param.name; });
