// SPDX-License-Identifier: MIT
#include "backend/FileDescriptor.h"
#include "backend/cancel_signal.h"
#include "backend/spool_names.h"
#include "tests/unit/backend/AgentTest.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <thread>

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

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

class RunningAgent : public AgentTest
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

    /// Has the program wait, once it is started, until finishProgram is called.
    void installWaitingProgram() const
    {
        installProgram("#!/bin/sh\necho started >\"${0%/*}/calls\"\n"
                       "until [ -e \"${0%/*}/go\" ]; do sleep 0.01; done\nrm \"$6\"\n");
    }

    void finishProgram() const { writeFile(scratch.path() / "go", ""); }

    /// Takes the folder's lock, as an agent does.
    [[nodiscard]] backend::FileDescriptor lockFolder() const
    {
        const std::string file = folder() / "agent.lock";
        backend::FileDescriptor lock(::open(file.c_str(), O_RDWR | O_CREAT, 0600));
        EXPECT_EQ(::flock(lock.get(), LOCK_EX), 0);
        return lock;
    }

    static bool waitsForLock(pid_t process)
    {
        const std::string waiter = "-> FLOCK  ADVISORY  WRITE " + std::to_string(process) + " ";
        return contents("/proc/locks").find(waiter) != std::string::npos;
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
    installWaitingProgram();
    spool("1-7-0");
    spool("2-8-0");
    const pid_t agent = start(false);
    ASSERT_TRUE(comesTrue([&] { return !calls().empty(); }));
    ::kill(agent, SIGTERM);
    finishProgram();
    EXPECT_EQ(endOf(agent), 0);
    EXPECT_THAT(files(folder()), ElementsAre("2-8-0.document", "2-8-0.ticket"));
}

TEST_F(RunningAgent, goes_on_when_its_terminal_is_closed)
{
    installWaitingProgram();
    spool("1-7-0");
    const pid_t agent = start(false);
    ASSERT_TRUE(comesTrue([&] { return !calls().empty(); }));
    ::kill(agent, SIGHUP);
    finishProgram();
    EXPECT_EQ(endOf(agent), 0);
    EXPECT_THAT(files(folder()), IsEmpty());
}

#ifdef __linux__
TEST_F(RunningAgent, starts_its_program_with_the_signals_that_it_ignores_itself)
{
    installProgram("#!/bin/sh\nsed -n 's/^SigIgn:.//p' /proc/self/status >\"${0%/*}/calls\"\nrm \"$6\"\n");
    spool("1-7-0");
    EXPECT_EQ(endOf(start(false)), 0);
    const unsigned long long ignored = std::stoull(calls(), nullptr, 16);
    for (const int signal : {SIGPIPE, SIGXFSZ, SIGHUP}) {
        EXPECT_EQ(ignored >> (signal - 1) & 1U, 0U) << signal;
    }
}

/// While somebody holds the folder's lock, nobody else touches its jobs, claimed ones among them.
TEST_F(RunningAgent, waits_for_the_one_that_works)
{
    spool("1-7-0");
    fs::rename(folder() / "1-7-0.ticket", folder() / "1-7-0.claimed");
    const backend::FileDescriptor lock = lockFolder();
    const pid_t agent = start(false);
    EXPECT_TRUE(comesTrue([&] { return waitsForLock(agent); }));
    EXPECT_THAT(files(folder()), ElementsAre("1-7-0.claimed", "1-7-0.document"));
    ASSERT_EQ(::flock(lock.get(), LOCK_UN), 0); // not closed: the agent was forked with a copy
    EXPECT_EQ(endOf(agent), 0);
    EXPECT_THAT(files(folder()), IsEmpty()); // the other one is gone, and so its job has failed
    EXPECT_THAT(files(failed()), ElementsAre("1-7-0.document", "1-7-0.ticket"));
}

TEST_F(RunningAgent, that_waits_for_another_ends_on_request)
{
    const backend::FileDescriptor lock = lockFolder();
    const pid_t agent = start(false);
    EXPECT_TRUE(comesTrue([&] { return waitsForLock(agent); }));
    ::kill(agent, SIGTERM);
    EXPECT_EQ(endOf(agent), 0);
}

TEST_F(RunningAgent, takes_its_program_along_when_it_is_killed)
{
    const std::string pipe = scratch.path() / "alive";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    const backend::FileDescriptor alive(::open(pipe.c_str(), O_RDONLY | O_NONBLOCK));
    installProgram("#!/bin/sh\nexec >\"${0%/*}/alive\"\necho >\"${0%/*}/calls\"\nexec tail -f /dev/null\n");
    spool("1-7-0");
    const pid_t agent = start(false);
    EXPECT_TRUE(comesTrue([&] { return !calls().empty(); }));
    ::kill(agent, SIGKILL);
    EXPECT_EQ(endOf(agent), -1);
    pollfd end{alive.get(), 0, 0};
    EXPECT_EQ(::poll(&end, 1, 20000), 1);
    EXPECT_EQ(end.revents, POLLHUP); // nobody has it open to write any more
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
