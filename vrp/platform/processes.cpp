// SPDX-License-Identifier: MIT
#include "vrp/platform/processes.h"

#include "vrp/platform/text.h"

#include <dirent.h>
#include <sys/select.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;

constexpr std::size_t maxCommandBytes = 8191;
constexpr int waitForever = -1;
constexpr int finished = 0;
constexpr int failed = -1;
constexpr int terminated = -2;
constexpr milliseconds settleTime{10};
constexpr milliseconds longestPollDelay{1000};

struct CloseDirectory
{
    void operator()(DIR *directory) const { closedir(directory); }
};

/// Open descriptors beyond the standard three; the child closes them, and must not allocate to find them.
std::vector<int> descriptorsToClose()
{
    std::vector<int> descriptors;
    const std::unique_ptr<DIR, CloseDirectory> directory{opendir("/dev/fd")};
    if (!directory) {
        return descriptors;
    }
    while (const dirent *entry = readdir(directory.get())) {
        const int descriptor = std::atoi(entry->d_name);
        if (descriptor > STDERR_FILENO) {
            descriptors.push_back(descriptor);
        }
    }
    return descriptors;
}

[[noreturn]] void becomeShell(const char *command, const std::vector<int> &unneeded)
{
    for (const int descriptor : unneeded) {
        close(descriptor);
    }
    execl("/bin/sh", "sh", "-c", command, nullptr);
    _exit(-1);
}

pid_t startShell(const std::string &command)
{
    const std::vector<int> unneeded = descriptorsToClose();
    const pid_t child = fork();
    if (child == 0) {
        becomeShell(command.c_str(), unneeded);
    }
    return child;
}

/// Sleeps; an interrupted sleep is repeated once.
void pause(milliseconds time)
{
    const auto once = [time] {
        timeval delay{};
        delay.tv_sec = static_cast<decltype(delay.tv_sec)>(time.count() / 1000);
        delay.tv_usec = static_cast<decltype(delay.tv_usec)>(time.count() % 1000 * 1000);
        return select(0, nullptr, nullptr, nullptr, &delay);
    };
    if (once() < 0 && errno == EINTR) {
        once();
    }
}

milliseconds grown(milliseconds delay)
{
    return std::min(delay + delay / 10 + milliseconds{1}, longestPollDelay);
}

/// Children that were left running; each is collected by a later call, the last ones by the system when the
/// program ends.
std::vector<pid_t> &leftRunning()
{
    static std::vector<pid_t> children;
    return children;
}

void collectLeftRunning()
{
    std::erase_if(leftRunning(), [](pid_t child) { return waitpid(child, nullptr, WNOHANG) != 0; });
}

/// The result once the child has ended, been stopped or got lost; nothing while it runs.
std::optional<int> poll(pid_t child, int &exitCode)
{
    int state = 0;
    const pid_t reported = waitpid(child, &state, WNOHANG | WUNTRACED);
    if (reported == 0) {
        return std::nullopt;
    }
    if (reported > 0 && WIFEXITED(state)) {
        exitCode = WEXITSTATUS(state);
        return finished;
    }
    if (reported > 0 && WIFSTOPPED(state)) {
        leftRunning().push_back(child);
    }
    return failed;
}

int terminate(pid_t child)
{
    kill(child, SIGTERM);
    while (waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }
    return terminated;
}

int waitFor(pid_t child, int &exitCode, int waitSeconds)
{
    const auto start = steady_clock::now();
    for (milliseconds delay{1};; delay = grown(delay)) {
        pause(settleTime);
        if (const auto result = poll(child, exitCode)) {
            return *result;
        }
        if (waitSeconds == 0) {
            leftRunning().push_back(child);
            return finished;
        }
        if (waitSeconds != waitForever && steady_clock::now() - start > seconds{waitSeconds}) {
            return terminate(child);
        }
        pause(delay);
    }
}

} // namespace

int VrpsExecPrgm(const wchar_t *command, int *exitCode, int waitSeconds)
{
    return MacExecPrgm(command, exitCode, waitSeconds);
}

int MacExecPrgm(const wchar_t *command, int *exitCode, int waitSeconds)
{
    if (exitCode == nullptr) {
        return failed;
    }
    *exitCode = 0;
    if (command == nullptr || *command == L'\0') {
        return failed;
    }
    collectLeftRunning();
    const pid_t child = startShell(wtoUTF8(command).substr(0, maxCommandBytes));
    return child < 0 ? failed : waitFor(child, *exitCode, waitSeconds);
}
