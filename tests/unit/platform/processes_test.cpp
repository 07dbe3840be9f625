// SPDX-License-Identifier: MIT
#include "vrp/platform/processes.h"

#include "tests/support/ScopedVariable.h"
#include "tests/support/file_bytes.h"
#include "vrp/platform/text.h"

#include <QTemporaryDir>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <fstream>

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::seconds;

class Processes : public testing::Test
{
protected:
    int run(const std::string &command, int waitSeconds = -1)
    {
        return VrpsExecPrgm(UTF8tow(command).c_str(), &m_exitCode, waitSeconds);
    }

    std::string at(const std::string &name) const { return m_folder.path().toStdString() + "/" + name; }

    std::string read(const std::string &name) const { return fileBytes(at(name)); }

    /// True once the file holds something, within ten seconds.
    bool appears(const std::string &name) const
    {
        const auto limit = Clock::now() + seconds(10);
        while (read(name).empty()) {
            if (Clock::now() > limit) {
                return false;
            }
            usleep(1000);
        }
        return true;
    }

    /// True once a later call has collected the child that was left running, within ten seconds.
    bool laterCallsCollectIt()
    {
        const auto limit = Clock::now() + seconds(10);
        do {
            run("true");
        } while (!noChildIsLeft() && Clock::now() < limit);
        return noChildIsLeft();
    }

    static bool noChildIsLeft() { return waitpid(-1, nullptr, WNOHANG) < 0 && errno == ECHILD; }

    int m_exitCode = 77;
    QTemporaryDir m_folder;
};

} // namespace

TEST_F(Processes, the_exit_code_of_a_command_is_given)
{
    EXPECT_EQ(run("exit 0"), 0);
    EXPECT_EQ(m_exitCode, 0);
    EXPECT_EQ(run("exit 41", 30), 0);
    EXPECT_EQ(m_exitCode, 41);
    EXPECT_EQ(run("/no/such/program 2>/dev/null"), 0);
    EXPECT_EQ(m_exitCode, 127);
    EXPECT_TRUE(noChildIsLeft());
}

TEST_F(Processes, the_command_goes_through_the_shell)
{
    EXPECT_EQ(run("x='a b'; printf %s \"$x\" > \"" + at("out") + "\" && exit 3"), 0);
    EXPECT_EQ(m_exitCode, 3);
    EXPECT_EQ(read("out"), "a b");
}

TEST_F(Processes, a_bad_argument_is_refused)
{
    EXPECT_EQ(VrpsExecPrgm(nullptr, &m_exitCode, -1), -1);
    EXPECT_EQ(m_exitCode, 0);
    m_exitCode = 77;
    EXPECT_EQ(VrpsExecPrgm(L"", &m_exitCode, -1), -1);
    EXPECT_EQ(m_exitCode, 0);
    EXPECT_EQ(VrpsExecPrgm(L"true", nullptr, -1), -1);
}

TEST_F(Processes, a_command_killed_by_a_signal_fails_with_exit_code_0)
{
    EXPECT_EQ(run("kill -KILL $$"), -1);
    EXPECT_EQ(m_exitCode, 0);
    EXPECT_TRUE(noChildIsLeft());
}

TEST_F(Processes, a_command_that_outlives_its_wait_is_terminated)
{
    const auto start = Clock::now();
    EXPECT_EQ(run("exec sleep 100", 1), -2);
    EXPECT_EQ(m_exitCode, 0);
    EXPECT_GT(Clock::now() - start, seconds(1));
    EXPECT_LT(Clock::now() - start, seconds(30));
    EXPECT_TRUE(noChildIsLeft());
}

TEST_F(Processes, a_command_that_ends_after_the_termination_signal_is_waited_for)
{
    EXPECT_EQ(run("trap '' TERM; echo up > " + at("up") + "; sleep 3; echo done > " + at("done"), 1), -2);
    EXPECT_EQ(m_exitCode, 0);
    EXPECT_EQ(read("done"), "done\n");
    EXPECT_TRUE(noChildIsLeft());
}

TEST_F(Processes, a_wait_without_limit_lasts_until_the_command_ends)
{
    EXPECT_EQ(run("sleep 1; echo done > " + at("done")), 0);
    EXPECT_EQ(read("done"), "done\n");
}

TEST_F(Processes, a_command_that_is_not_waited_for_runs_on_and_is_collected_later)
{
    ASSERT_EQ(mkfifo(at("gate").c_str(), 0600), 0);
    EXPECT_EQ(run("read line < " + at("gate") + "; echo done > " + at("done") + "; exit 9", 0), 0);
    EXPECT_EQ(m_exitCode, 0);
    EXPECT_EQ(read("done"), "");
    std::ofstream(at("gate")) << "go\n";
    EXPECT_TRUE(appears("done"));
    EXPECT_TRUE(laterCallsCollectIt());
}

TEST_F(Processes, a_command_that_stops_fails_and_is_collected_later)
{
    EXPECT_EQ(run("echo $$ > " + at("pid") + "; kill -STOP $$"), -1);
    EXPECT_EQ(m_exitCode, 0);
    kill(static_cast<pid_t>(std::stoi(read("pid"))), SIGKILL);
    EXPECT_TRUE(laterCallsCollectIt());
}

TEST_F(Processes, a_command_that_ends_within_the_first_poll_is_reported_even_without_waiting)
{
    const auto limit = Clock::now() + seconds(30);
    while (run("exit 5", 0) == 0 && m_exitCode != 5 && Clock::now() < limit) {
    }
    EXPECT_EQ(m_exitCode, 5);
    EXPECT_TRUE(laterCallsCollectIt());
}

TEST_F(Processes, a_lost_child_fails)
{
    const auto before = std::signal(SIGCHLD, SIG_IGN); // children vanish without a report
    EXPECT_EQ(run("exit 5"), -1);
    EXPECT_EQ(m_exitCode, 0);
    std::signal(SIGCHLD, before);
}

TEST_F(Processes, a_command_is_cut_after_8191_bytes)
{
    const std::string start = "> " + at("out") + " printf %s ";
    for (const std::size_t length : {8190U, 8191U, 8192U, 20000U}) {
        EXPECT_EQ(run(start + std::string(length - start.size(), 'a')), 0);
        EXPECT_EQ(m_exitCode, 0);
        EXPECT_EQ(start.size() + read("out").size(), std::min<std::size_t>(length, 8191));
    }
}

TEST_F(Processes, the_cut_of_a_command_does_not_spare_a_character)
{
    std::string command = "> " + at("out") + " printf %s ";
    command.append(8190 - command.size(), 'a');
    command += "\xC3\xA9z";
    EXPECT_EQ(run(command), 0);
    EXPECT_EQ(read("out").back(), '\xC3');
}

TEST_F(Processes, the_child_inherits_the_environment)
{
    const ScopedVariable value("VAREK_TEST_VALUE", "a b");
    EXPECT_EQ(run("test \"$VAREK_TEST_VALUE\" = 'a b'"), 0);
    EXPECT_EQ(m_exitCode, 0);
}

TEST_F(Processes, the_child_gets_the_standard_descriptors_alone)
{
    const int low = open("/dev/null", O_RDONLY);
    const int high = fcntl(low, F_DUPFD, 700);
    ASSERT_GT(low, STDERR_FILENO);
    ASSERT_GE(high, 700);
    EXPECT_EQ(run("cd /dev/fd && for n in *; do [ $n -gt 2 ] && [ -e $n ] && exit 1; done; exit 0"), 0);
    EXPECT_EQ(m_exitCode, 0);
    EXPECT_EQ(run("for n in " + std::to_string(low) + " " + std::to_string(high) +
                  "; do [ -e /dev/fd/$n ] && exit 1; done; exit 0"),
              0);
    EXPECT_EQ(m_exitCode, 0);
    EXPECT_EQ(run("for n in 0 1 2; do [ -e /dev/fd/$n ] || exit 1; done; exit 0"), 0);
    EXPECT_EQ(m_exitCode, 0);
    close(low);
    close(high);
}

TEST_F(Processes, a_signal_during_the_wait_does_not_end_it)
{
    struct sigaction ignore = {}, before = {};
    ignore.sa_handler = [](int) {};
    sigaction(SIGUSR1, &ignore, &before); // without SA_RESTART
    EXPECT_EQ(run("for n in 1 2 3 4 5 6 7 8; do kill -USR1 $PPID; sleep 0.05; done; exit 6"), 0);
    EXPECT_EQ(m_exitCode, 6);
    sigaction(SIGUSR1, &before, nullptr);
}
