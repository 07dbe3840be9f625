// SPDX-License-Identifier: MIT
#include "backend/cups_job.h"

#include <gmock/gmock.h>

#include <vector>

using backend::originatingHost;
using backend::parseJob;

namespace {

std::vector<std::string> arguments(const std::string &copies = "1")
{
    return {"12", "alice", "Title", copies, "media=a4 job-originating-host-name=localhost"};
}

TEST(ParseJob, reads_the_five_arguments_of_a_backend)
{
    const auto job = parseJob(arguments("3"));
    ASSERT_TRUE(job);
    EXPECT_EQ(job->id, "12");
    EXPECT_EQ(job->user, "alice");
    EXPECT_EQ(job->title, "Title");
    EXPECT_EQ(job->copies, 3U);
    EXPECT_EQ(job->host, "localhost");
    EXPECT_THAT(job->files, testing::IsEmpty());
}

TEST(ParseJob, takes_every_file_of_a_job)
{
    auto words = arguments();
    words.insert(words.end(), {"/a", "/b", "/c"});
    EXPECT_THAT(parseJob(words)->files, testing::ElementsAre("/a", "/b", "/c"));
}

TEST(ParseJob, wants_five_arguments_and_a_job_number)
{
    auto few = arguments();
    few.pop_back();
    EXPECT_FALSE(parseJob(few));
    for (const char *id : {"", "x", "-1", "1/2", "../1", "12345678901"}) {
        auto words = arguments();
        words[0] = id;
        EXPECT_FALSE(parseJob(words)) << id;
    }
}

TEST(ParseJob, counts_a_number_of_copies_that_is_none_as_one)
{
    for (const char *copies : {"", "0", "-2", "x", "2x", "10000", "99999999999999999999"}) {
        EXPECT_EQ(parseJob(arguments(copies))->copies, 1U) << copies;
    }
}

TEST(OriginatingHost, is_taken_from_the_options)
{
    struct Case
    {
        const char *options, *host;
    };

    const Case cases[] = {
        {"", ""},
        {"finishings=3 number-up=2", ""},
        {"job-originating-host-name=localhost", "localhost"},
        {"a=b job-originating-host-name=10.0.0.7 time-at-creation=5", "10.0.0.7"},
        {"job-originating-host-name=\"desk 7\" x=y", "desk 7"},
        {"job-originating-host-name='desk 7' x=y", "desk 7"},
        {"job-originating-host-name=desk\\ 7 x=y", "desk 7"},
        {"job-originating-host-name=", "?"},
    };
    for (const Case &c : cases) {
        EXPECT_EQ(originatingHost(c.options), c.host) << c.options;
    }
}

TEST(OriginatingHost, of_another_computer_cannot_be_hidden_by_a_second_one)
{
    for (const char *options :
         {"job-originating-host-name=localhost job-originating-host-name=evil.example",
          "job-originating-host-name=evil.example job-originating-host-name=localhost",
          "x\\ job-originating-host-name=localhost job-originating-host-name=evil.example",
          "note=\"job-originating-host-name=localhost\" job-originating-host-name=evil.example"}) {
        EXPECT_FALSE(backend::isThisComputer(originatingHost(options))) << options;
    }
}

TEST(IsThisComputer, knows_the_names_that_cupsd_uses)
{
    for (const char *local : {"localhost", "LocalHost", "127.0.0.1", "::1", "[::1]", "[v1.::1]"}) {
        EXPECT_TRUE(backend::isThisComputer(local)) << local;
    }
    for (const char *other :
         {"", "localhost.evil.example", "evil.example", "127.0.0.1.evil.example", "local"}) {
        EXPECT_FALSE(backend::isThisComputer(other)) << other;
    }
}

} // namespace
