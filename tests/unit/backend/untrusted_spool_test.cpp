// SPDX-License-Identifier: MIT
#include "tests/unit/backend/AgentTest.h"

#include <gmock/gmock.h>

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

using Agent = AgentTest;

TEST_F(Agent, sets_a_job_with_an_unreadable_ticket_aside)
{
    spool("1-7-0");
    writeFile(folder() / "1-7-0.ticket", "nonsense");
    spool("2-8-0", "good");
    EXPECT_EQ(runOnce(), 0);
    EXPECT_THAT(files(failed()), ElementsAre("1-7-0.document", "1-7-0.ticket"));
    EXPECT_THAT(calls(), HasSubstr("good"));
}

TEST_F(Agent, does_not_take_a_link_for_a_document)
{
    spool("1-7-0");
    writeFile(scratch.path() / "precious", "precious");
    fs::remove(folder() / "1-7-0.document");
    fs::create_symlink(scratch.path() / "precious", folder() / "1-7-0.document");
    EXPECT_EQ(runOnce(), 0);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(contents(scratch.path() / "precious"), "precious");
}

TEST_F(Agent, does_not_take_a_file_of_somebody_else_for_a_document)
{
    spool("1-7-0");
    ASSERT_EQ(::chown((folder() / "1-7-0.document").c_str(), 54321, 54321), 0) << "these tests run as root";
    EXPECT_EQ(runOnce(), 0);
    EXPECT_EQ(calls(), "");
}

TEST_F(Agent, ignores_files_that_are_no_jobs)
{
    for (const char *name : {".ticket", "-k.ticket", "a b.ticket", "x.tickets", "a\n.ticket"}) {
        writeFile(folder() / name, "x");
    }
    EXPECT_EQ(runOnce(), 0);
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(files(folder()).size(), 5U);
}

TEST_F(Agent, does_not_enter_a_folder_that_is_open_to_others)
{
    spool("1-7-0");
    ::chmod(folder().c_str(), 0755);
    EXPECT_EQ(runOnce(), 0);
    EXPECT_EQ(calls(), "");
}

TEST_F(Agent, does_not_enter_a_folder_of_somebody_else)
{
    spool("1-7-0");
    ASSERT_EQ(::chown(folder().c_str(), 54321, 54321), 0) << "these tests run as root";
    EXPECT_EQ(runOnce(), 0);
    EXPECT_EQ(calls(), "");
}

TEST_F(Agent, has_nothing_to_do_without_a_folder)
{
    fs::remove_all(folder());
    EXPECT_EQ(runOnce(), 0);
}

} // namespace
