// SPDX-License-Identifier: MIT
#pragma once

#include "tests/support/ArgumentVector.h"
#include "tests/support/LoopbackSocket.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <string>
#include <vector>

/// A program that listens on a port of the loopback interface, says nothing, and is ended with this object.
class LoopbackDaemon
{
public:
    /// The program is looked for on the PATH.
    LoopbackDaemon(const std::string &program, const std::vector<std::string> &arguments)
    {
        ArgumentVector words(program, arguments);
        m_pid = ::fork();
        if (m_pid == 0) {
            const int nothing = ::open("/dev/null", O_RDWR);
            ::dup2(nothing, STDOUT_FILENO);
            ::dup2(nothing, STDERR_FILENO);
            ::execvp(words.data()[0], words.data());
            ::_exit(127);
        }
    }

    LoopbackDaemon(const LoopbackDaemon &) = delete;
    LoopbackDaemon &operator=(const LoopbackDaemon &) = delete;

    ~LoopbackDaemon()
    {
        ::kill(m_pid, SIGTERM); // and not SIGKILL: squid gives its shared memory back
        ::waitpid(m_pid, nullptr, 0);
    }

    /// A port that nobody listens on yet.
    static int freePort() { return LoopbackSocket::listener().port(); }

    /// Waits until the program listens on the port; false when it has ended or takes longer than a minute.
    [[nodiscard]] bool listensOn(int port) const
    {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
        while (std::chrono::steady_clock::now() < deadline && isRunning()) {
            if (LoopbackSocket::connection(port).isOpen()) {
                return true;
            }
            ::poll(nullptr, 0, 20);
        }
        return false;
    }

private:
    /// Leaves the end of the program to be collected later: its number is not given to another one meanwhile.
    [[nodiscard]] bool isRunning() const
    {
        siginfo_t end = {};
        ::waitid(P_PID, static_cast<id_t>(m_pid), &end, WEXITED | WNOHANG | WNOWAIT);
        return end.si_pid == 0;
    }

    pid_t m_pid = -1;
};
