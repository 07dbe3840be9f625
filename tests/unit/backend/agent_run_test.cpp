// SPDX-License-Identifier: MIT
#include "backend/agent_run.h"

#include "backend/FileDescriptor.h"
#include "tests/unit/backend/AgentTest.h"

#include <fcntl.h>
#include <gmock/gmock.h>

#include <chrono>
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

TEST_F(Agent, ignores_files_that_are_no_jobs)
{
    for (const char *name : {".ticket", "-k.ticket", "a b.ticket", "x.tickets", "a\n.ticket"}) {
        writeFile(folder() / name, "x");
    }
    EXPECT_EQ(runOnce(), 0);
    EXPECT_EQ(calls(), "");
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

TEST_F(Agent, does_not_enter_a_folder_that_is_open_to_others)
{
    spool("1-7-0");
    ::chmod(folder().c_str(), 0755);
    EXPECT_EQ(runOnce(), 0);
    EXPECT_EQ(calls(), "");
}

TEST_F(Agent, has_nothing_to_do_without_a_folder)
{
    fs::remove_all(folder());
    EXPECT_EQ(runOnce(), 0);
}

} // namespace
