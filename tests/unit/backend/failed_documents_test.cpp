// SPDX-License-Identifier: MIT
#include "tests/unit/backend/AgentTest.h"

#include <gmock/gmock.h>

#include <chrono>

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

using Agent = AgentTest;

TEST_F(Agent, keeps_the_document_of_a_program_that_died_and_tells_the_user)
{
    installProgram("#!/bin/sh\necho call >>\"${0%/*}/calls\"\nkill -SEGV $$\n");
    spool("1-7-0", "Report");
    EXPECT_EQ(runOnce(), 0);
    EXPECT_THAT(files(folder()), IsEmpty());
    EXPECT_THAT(files(failed()), ElementsAre("1-7-0.document", "1-7-0.ticket"));
    EXPECT_EQ(modeOf(failed()), 0700U);
    EXPECT_EQ(modeOf(failed() / "1-7-0.document"), 0600U);
    EXPECT_EQ(contents(failed() / "1-7-0.document"), "document 1-7-0");
    ASSERT_THAT(told, testing::SizeIs(1));
    EXPECT_THAT(told.front(), HasSubstr("'Report' was not sent: the program ended unexpectedly (signal 11)"));
    EXPECT_THAT(told.front(), HasSubstr((failed() / "1-7-0.document").string()));
}

TEST_F(Agent, starts_a_job_whose_program_died_never_again)
{
    installProgram("#!/bin/sh\necho call >>\"${0%/*}/calls\"\nkill -KILL $$\n");
    spool("1-7-0");
    EXPECT_EQ(runOnce(), 0);
    EXPECT_EQ(runOnce(), 0);
    EXPECT_EQ(calls(), "call\n");
}

TEST_F(Agent, keeps_a_document_that_the_program_did_not_deal_with)
{
    installProgram("#!/bin/sh\nexit 1\n");
    spool("1-7-0");
    EXPECT_EQ(runOnce(), 0);
    EXPECT_THAT(files(failed()), ElementsAre("1-7-0.document", "1-7-0.ticket"));
    EXPECT_THAT(told.front(), HasSubstr("(status 1)"));
}

TEST_F(Agent, keeps_the_document_of_a_program_that_cannot_be_started)
{
    installProgram("#!/no/such/shell\n");
    spool("1-7-0", "Report");
    EXPECT_EQ(runOnce(), 0);
    EXPECT_THAT(files(failed()), ElementsAre("1-7-0.document", "1-7-0.ticket"));
    EXPECT_THAT(told.front(), HasSubstr("'Report' was not sent: the program could not be started"));
}

TEST_F(Agent, tells_the_user_of_a_program_that_died_after_it_had_dealt_with_the_document)
{
    installProgram("#!/bin/sh\nrm \"$6\"\nkill -SEGV $$\n");
    spool("1-7-0", "Report");
    EXPECT_EQ(runOnce(), 0);
    EXPECT_THAT(told,
                ElementsAre("the program ended unexpectedly (signal 11) after it had dealt with 'Report'"));
    EXPECT_THAT(files(folder()), IsEmpty());
}

TEST_F(Agent, keeps_the_claim_of_a_document_that_cannot_be_put_aside)
{
    installProgram("#!/bin/sh\nexit 1\n");
    spool("1-7-0", "Report");
    writeFile(failed(), "no folder");
    EXPECT_EQ(runOnce(), 0);
    EXPECT_THAT(files(folder()), ElementsAre("1-7-0.claimed", "1-7-0.document", "failed"));
    EXPECT_THAT(told.front(), HasSubstr("It is kept as " + (folder() / "1-7-0.document").string()));
    fs::remove(failed());
    EXPECT_EQ(runOnce(), 0);
    EXPECT_THAT(files(failed()), ElementsAre("1-7-0.document", "1-7-0.ticket"));
}

TEST_F(Agent, does_not_restart_a_job_that_an_earlier_agent_had_claimed)
{
    spool("1-7-0", "Report");
    fs::rename(folder() / "1-7-0.ticket", folder() / "1-7-0.claimed");
    EXPECT_EQ(runOnce(), 0);
    EXPECT_EQ(calls(), "");
    EXPECT_THAT(files(failed()), ElementsAre("1-7-0.document", "1-7-0.ticket"));
    EXPECT_THAT(told.front(), HasSubstr("'Report' was not sent: the session ended"));
}

TEST_F(Agent, leaves_no_part_of_a_document_whose_program_died)
{
    installProgram("#!/bin/sh\necho part >\"$6.tmp\"\necho compressed >\"$6.tmpc\"\nkill -SEGV $$\n");
    spool("1-7-0");
    EXPECT_EQ(runOnce(), 0);
    EXPECT_THAT(files(folder()), IsEmpty());
    EXPECT_THAT(files(failed()), ElementsAre("1-7-0.document", "1-7-0.ticket"));
}

TEST_F(Agent, leaves_no_part_of_a_document_whose_session_ended)
{
    spool("1-7-0");
    fs::rename(folder() / "1-7-0.ticket", folder() / "1-7-0.claimed");
    writeFile(folder() / "1-7-0.document.tmpc", "compressed");
    writeFile(folder() / "1-7-00.document.tmpc", "of another job");
    EXPECT_EQ(runOnce(), 0);
    EXPECT_THAT(files(folder()), ElementsAre("1-7-00.document.tmpc"));
    EXPECT_THAT(files(failed()), ElementsAre("1-7-0.document", "1-7-0.ticket"));
}

TEST_F(Agent, forgets_a_claimed_job_whose_document_is_gone)
{
    spool("1-7-0");
    fs::rename(folder() / "1-7-0.ticket", folder() / "1-7-0.claimed");
    fs::remove(folder() / "1-7-0.document");
    EXPECT_EQ(runOnce(), 0);
    EXPECT_THAT(files(folder()), IsEmpty());
    EXPECT_THAT(told, IsEmpty());
}

TEST_F(Agent, deletes_failed_documents_after_seven_days_and_leftovers_after_one)
{
    fs::create_directory(failed());
    const auto age = [](const fs::path &file, int hours) {
        writeFile(file, "x");
        fs::last_write_time(file, fs::file_time_type::clock::now() - std::chrono::hours(hours));
    };
    age(failed() / "1-1-0.document", 7 * 24 + 1);
    age(failed() / "2-2-0.document", 7 * 24 - 1);
    age(folder() / "3-3-0.document.part", 25);
    age(folder() / "4-4-0.document.part", 23);
    age(folder() / "5-5-0.document", 25);
    age(folder() / "6-6-0.document", 23);
    EXPECT_EQ(runOnce(), 0);
    EXPECT_THAT(files(failed()), ElementsAre("2-2-0.document"));
    EXPECT_THAT(files(folder()), ElementsAre("4-4-0.document.part", "6-6-0.document"));
}

TEST_F(Agent, counts_the_seven_days_from_the_failure_on)
{
    installProgram("#!/bin/sh\nexit 1\n");
    spool("1-7-0");
    const auto longAgo = fs::file_time_type::clock::now() - std::chrono::hours(8 * 24);
    fs::last_write_time(folder() / "1-7-0.document", longAgo);
    fs::last_write_time(folder() / "1-7-0.ticket", longAgo);
    EXPECT_EQ(runOnce(), 0);
    EXPECT_EQ(runOnce(), 0);
    EXPECT_THAT(files(failed()), ElementsAre("1-7-0.document", "1-7-0.ticket"));
}

} // namespace
