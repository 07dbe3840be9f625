// SPDX-License-Identifier: MIT
#include "backend/agent_run.h"

#include "backend/cancel_signal.h"
#include "backend/job_ticket.h"
#include "backend/spool_names.h"
#include "backend/waiting_jobs.h"
#include "tests/unit/backend/scratch_folder.h"

#include <gmock/gmock.h>

#include <sys/file.h>
#include <sys/wait.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <sstream>
#include <thread>
#include <vector>

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

/// Writes each argument as one line of "calls", an empty line behind each call, and deletes the document.
constexpr char obedientProgram[] = "#!/bin/sh\n"
                                   "{ printf '%s\\n' \"$@\"; echo; } >>\"${0%/*}/calls\"\n"
                                   "rm \"$6\"\n";

class Agent : public testing::Test
{
protected:
    Agent()
    {
        fs::create_directory(folder());
        ::chmod(folder().c_str(), 0700);
        installProgram(obedientProgram);
    }

    [[nodiscard]] fs::path folder() const { return scratch.path() / std::to_string(::geteuid()); }

    void installProgram(const std::string &script) const { writeFile(scratch.path() / "vrp", script, 0755); }

    void spool(const std::string &stem, const backend::JobTicket &ticket) const
    {
        writeFile(folder() / (stem + ".document"), "document " + stem);
        writeFile(folder() / (stem + ".part"), formatTicket(ticket));
        fs::rename(folder() / (stem + ".part"), folder() / (stem + ".ticket"));
    }

    void spool(const std::string &stem, const std::string &title = "Title") const
    {
        spool(stem, {"Varek", title, "desk7", "alice", 2, 1});
    }

    [[nodiscard]] backend::AgentOptions options() const
    {
        return {.spoolRoot = scratch.path(), .program = scratch.path() / "vrp", .displayWaitMs = 0};
    }

    int runOnce(bool display = true)
    {
        return backend::runAgent(options(),
                                 {.displayOpens = [display] { return display; },
                                  .tellUser = [this](const std::string &text) { told.push_back(text); }});
    }

    [[nodiscard]] std::string calls() const { return contents(scratch.path() / "calls"); }

    [[nodiscard]] std::vector<std::string> files(const fs::path &where) const
    {
        std::vector<std::string> names;
        for (const auto &entry : fs::directory_iterator(where)) {
            if (entry.is_regular_file() && entry.path().filename() != "agent.lock") {
                names.push_back(entry.path().filename());
            }
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    [[nodiscard]] fs::path failed() const { return folder() / "failed"; }

    ScratchFolder scratch;
    std::vector<std::string> told;
};

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

TEST_F(Agent, gives_the_program_no_descriptor_but_the_standard_ones)
{
    installProgram("#!/bin/sh\nls -l /proc/self/fd | awk '{print $9}' | grep -c . >\"${0%/*}/calls\"\n"
                   "readlink /proc/$$/fd/0 >>\"${0%/*}/calls\"\nrm \"$6\"\n");
    const int stray = ::open("/dev/null", O_RDONLY);
    spool("1-7-0");
    EXPECT_EQ(runOnce(), 0);
    ::close(stray);
    EXPECT_EQ(calls(), "4\n/dev/null\n"); // 0, 1, 2 and the folder that ls reads
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

template <typename Condition>
bool comesTrue(const Condition &condition)
{
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > limit) {
            return false;
        }
        std::this_thread::yield();
    }
    return true;
}

class RunningAgent : public Agent
{
protected:
    pid_t start(bool watch)
    {
        const pid_t child = ::fork();
        if (child == 0) {
            backend::catchSignals();
            backend::AgentOptions settings = options();
            settings.watch = watch;
            ::_exit(backend::runAgent(
                settings, {.displayOpens = [] { return true; }, .tellUser = [](const std::string &) {}}));
        }
        return child;
    }

    static int endOf(pid_t child)
    {
        int status = -1;
        ::waitpid(child, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
};

TEST_F(RunningAgent, that_watches_starts_jobs_as_they_arrive_and_ends_on_request)
{
    const pid_t agent = start(true);
    for (const char *stem : {"1-7-0", "2-8-0", "3-9-0"}) {
        spool(stem, std::string("title ") + stem);
        EXPECT_TRUE(
            comesTrue([&] { return calls().find(std::string("title ") + stem) != std::string::npos; }));
    }
    ::kill(agent, SIGTERM);
    EXPECT_EQ(endOf(agent), 0);
    EXPECT_THAT(files(folder()), IsEmpty());
}

TEST_F(RunningAgent, that_watches_notices_its_users_first_job)
{
    fs::remove_all(folder());
    writeFile(scratch.path() / backend::newFolderMarker, "", 0644);
    const pid_t agent = start(true);
    fs::create_directory(folder());
    ::chmod(folder().c_str(), 0700);
    spool("1-7-0");
    writeFile(scratch.path() / backend::newFolderMarker, "", 0644);
    EXPECT_TRUE(comesTrue([&] { return !calls().empty(); }));
    ::kill(agent, SIGTERM);
    EXPECT_EQ(endOf(agent), 0);
}

TEST_F(RunningAgent, that_is_told_to_end_finishes_the_job_at_hand_and_leaves_the_next)
{
    installProgram("#!/bin/sh\necho started >\"${0%/*}/calls\"\n"
                   "until [ -e \"${0%/*}/go\" ]; do sleep 0.01; done\nrm \"$6\"\n");
    spool("1-7-0");
    spool("2-8-0");
    const pid_t agent = start(false);
    ASSERT_TRUE(comesTrue([&] { return !calls().empty(); }));
    ::kill(agent, SIGTERM);
    writeFile(scratch.path() / "go", "");
    EXPECT_EQ(endOf(agent), 0);
    EXPECT_THAT(files(folder()), ElementsAre("2-8-0.document", "2-8-0.ticket"));
}

#ifdef __linux__
TEST_F(RunningAgent, takes_its_program_along_when_it_is_killed)
{
    installProgram("#!/bin/sh\necho $$ >\"${0%/*}/calls\"\nexec tail -f /dev/null\n");
    spool("1-7-0");
    const pid_t agent = start(false);
    ASSERT_TRUE(comesTrue([&] { return calls().ends_with("\n"); }));
    const int program = static_cast<int>(::syscall(SYS_pidfd_open, std::stoi(calls()), 0));
    ASSERT_GE(program, 0);
    ::kill(agent, SIGKILL);
    pollfd end{program, POLLIN, 0};
    EXPECT_EQ(::poll(&end, 1, 20000), 1);
    ::close(program);
    EXPECT_EQ(endOf(agent), -1);
}
#endif

TEST_F(RunningAgent, starts_each_job_once_however_many_agents_there_are)
{
    for (int i = 10; i < 30; ++i) {
        spool(std::to_string(i) + "-7-0", "title " + std::to_string(i));
    }
    const pid_t agents[] = {start(false), start(false), start(false), start(false)};
    for (const pid_t agent : agents) {
        EXPECT_EQ(endOf(agent), 0);
    }
    const std::string all = calls();
    for (int i = 10; i < 30; ++i) {
        const std::string line = "\ntitle " + std::to_string(i) + "\n";
        EXPECT_NE(all.find(line), std::string::npos) << line;
        EXPECT_EQ(all.find(line, all.find(line) + 1), std::string::npos) << line;
    }
    EXPECT_THAT(files(folder()), IsEmpty());
}

} // namespace
