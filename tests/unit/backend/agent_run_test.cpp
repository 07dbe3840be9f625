// SPDX-License-Identifier: MIT
#include "backend/agent_run.h"

#include "backend/FileDescriptor.h"
#include "tests/unit/backend/AgentTest.h"

#include <fcntl.h>
#include <gmock/gmock.h>

#include <sstream>

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

using Agent = AgentTest;

TEST_F(Agent, starts_the_program_with_the_ticket_as_arguments)
{
    spool("1-7-0");
    EXPECT_EQ(runOnce(), 0);
    EXPECT_EQ(calls(), "-m\nsend\n-p\nVarek\n-f\n" + (folder() / "1-7-0.document").string() +
                           "\n-d\nTitle\n-c\ndesk7\n-u\nalice\n-n\n2\n\n");
    EXPECT_THAT(files(folder()), IsEmpty());
    EXPECT_THAT(told, IsEmpty());
}

TEST_F(Agent, starts_one_program_a_job_oldest_first)
{
    spool("3-9-0", "third");
    spool("1-7-0", "first");
    spool("2-8-0", "second");
    EXPECT_EQ(runOnce(), 0);
    const std::size_t first = calls().find("first");
    const std::size_t second = calls().find("second");
    const std::size_t third = calls().find("third");
    EXPECT_LT(first, second);
    EXPECT_LT(second, third);
    EXPECT_NE(third, std::string::npos);
}

TEST_F(Agent, takes_jobs_that_arrive_while_it_works)
{
    installProgram(
        std::string(obedientProgram) +
        "d=${6%/*}\n"
        "[ \"$8\" = first ] || exit 0\n"
        "echo x >\"$d/2-8-0.document\"\n"
        "printf 'varek-ticket 1\\nqueue=Varek\\ntitle=late\\nhost=h\\nuser=u\\ncopies=1\\ntime=1\\n'"
        " >\"$d/2-8-0.ticket\"\n");
    spool("1-7-0", "first");
    EXPECT_EQ(runOnce(), 0);
    EXPECT_THAT(calls(), HasSubstr("\nlate\n"));
    EXPECT_THAT(files(folder()), IsEmpty());
}

TEST_F(Agent, hands_over_hostile_texts_as_one_argument_each)
{
    const std::string titles[] = {"a\" -l FILE \"b", "5\" x", "-k",      "-l", "-s",
                                  "$(touch x)",      "%n",    "a;b&c>d", ""};
    for (const std::string &title : titles) {
        // Written around formatTicket, as somebody else would.
        spool("1-7-0");
        std::ostringstream ticket;
        ticket << "varek-ticket 1\nqueue=Varek\ntitle=" << title << "\nhost=" << title << "\nuser=" << title
               << "\ncopies=1\ntime=1\n";
        writeFile(folder() / "1-7-0.ticket", ticket.str());
        fs::remove(scratch.path() / "calls");
        ASSERT_EQ(runOnce(), 0);
        const std::string call = calls();
        EXPECT_EQ(std::count(call.begin(), call.end(), '\n'), 15) << title << "\n" << call;
        EXPECT_EQ(call.find_first_of("\"|"), std::string::npos) << call;
        for (const char *option : {"\n-k\n", "\n-l\n", "\n-s\n"}) {
            EXPECT_EQ(call.find(option), std::string::npos) << call;
        }
    }
}

TEST_F(Agent, gives_the_program_none_of_its_open_files)
{
    installProgram("#!/bin/sh\nls -l /proc/self/fd | cat >\"${0%/*}/calls\"\nrm \"$6\"\n");
    const std::string path = scratch.path() / "stray";
    const backend::FileDescriptor stray(::open(path.c_str(), O_RDWR | O_CREAT, 0600));
    ASSERT_GE(stray.get(), 0);
    spool("1-7-0");
    EXPECT_EQ(runOnce(), 0);
    EXPECT_THAT(calls(), HasSubstr(" 0 -> /dev/null\n"));
    EXPECT_THAT(calls(), Not(HasSubstr(scratch.path().string())));
}

TEST_F(Agent, claims_no_job_before_a_display_opens)
{
    spool("1-7-0");
    EXPECT_EQ(runOnce(false), 1);
    EXPECT_THAT(files(folder()), ElementsAre("1-7-0.document", "1-7-0.ticket"));
    EXPECT_EQ(calls(), "");
    EXPECT_EQ(runOnce(true), 0);
    EXPECT_THAT(files(folder()), IsEmpty());
}

TEST_F(Agent, claims_no_job_while_the_program_is_missing)
{
    spool("1-7-0");
    fs::remove(scratch.path() / "vrp");
    EXPECT_EQ(runOnce(), 1);
    EXPECT_THAT(files(folder()), ElementsAre("1-7-0.document", "1-7-0.ticket"));
}

} // namespace
