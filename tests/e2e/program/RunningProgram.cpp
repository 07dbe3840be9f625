// SPDX-License-Identifier: MIT
#include "tests/e2e/program/RunningProgram.h"

#include "tests/support/ArgumentVector.h"
#include "tests/support/file_bytes.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace {

constexpr std::chrono::milliseconds patience{30000};

[[noreturn]] void becomeProgram(char *const *arguments, const std::string &folder,
                                const std::string &outputFile, const Variables &variables)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    for (const auto &[name, value] : variables) {
        value.empty() ? unsetenv(name.c_str()) : setenv(name.c_str(), value.c_str(), 1);
    }
    const int output = open(outputFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    const bool ready =
        chdir(folder.c_str()) == 0 && dup2(output, STDOUT_FILENO) != -1 && dup2(output, STDERR_FILENO) != -1;
    if (ready) {
        execv(VAREK_PROGRAM, arguments);
    }
    _exit(127);
}

struct ClosePipe
{
    void operator()(FILE *pipe) const { pclose(pipe); }
};

/// What a shell command prints, without the last line end.
std::string shell(const std::string &command)
{
    const std::unique_ptr<FILE, ClosePipe> pipe(popen((command + " 2>/dev/null").c_str(), "r"));
    std::string printed;
    std::array<char, 256> block{};
    while (pipe && std::fgets(block.data(), static_cast<int>(block.size()), pipe.get()) != nullptr) {
        printed += block.data();
    }
    return printed.substr(0, printed.find_last_not_of('\n') + 1);
}

} // namespace

RunningProgram::RunningProgram(const std::vector<std::string> &arguments, const std::string &folder,
                               const Variables &variables)
    : m_outputFile(folder + "/output")
{
    ArgumentVector argv(VAREK_PROGRAM, arguments);
    m_process = fork();
    if (m_process == 0) {
        becomeProgram(argv.data(), folder, m_outputFile, variables);
    }
}

RunningProgram::~RunningProgram()
{
    if (m_status == -1 && m_process > 0) {
        kill(m_process, SIGKILL);
        waitpid(m_process, nullptr, 0);
    }
}

bool RunningProgram::hasEnded(std::chrono::milliseconds limit) const
{
    const int handle = static_cast<int>(syscall(SYS_pidfd_open, m_process, 0));
    pollfd end{handle, POLLIN, 0};
    const bool ended = poll(&end, 1, static_cast<int>(limit.count())) == 1;
    ::close(handle);
    return ended;
}

int RunningProgram::exitStatus()
{
    if (m_status == -1 && hasEnded(patience)) {
        int status = 0;
        rusage usage = {};
        wait4(m_process, &status, 0, &usage);
        m_peakKiB = usage.ru_maxrss;
        m_status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    return m_status;
}

std::string RunningProgram::output() const
{
    return fileBytes(m_outputFile);
}

std::string RunningProgram::window(const std::string &title) const
{
    const std::string search =
        "xdotool search --onlyvisible --all --pid " + std::to_string(m_process) + " --name '^" + title + "$'";
    const auto end = std::chrono::steady_clock::now() + patience;
    while (std::chrono::steady_clock::now() < end) {
        const std::string found = shell(search);
        if (!found.empty()) {
            return found.substr(0, found.find('\n'));
        }
        if (hasEnded(std::chrono::milliseconds(50))) {
            ADD_FAILURE() << "the program ended without a window \"" << title << "\": " << output();
            return {};
        }
    }
    ADD_FAILURE() << "no window \"" << title << "\" appeared; is the package xdotool installed?";
    return {};
}

std::string RunningProgram::windowClass(const std::string &window) const
{
    return shell("xprop -id " + window + " WM_CLASS");
}

void RunningProgram::press(const std::string &window, const std::string &key) const
{
    shell("xdotool windowactivate --sync " + window + " key --clearmodifiers " + key);
}

void RunningProgram::close(const std::string &window) const
{
    shell("xdotool windowclose " + window);
}
