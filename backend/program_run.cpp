// SPDX-License-Identifier: MIT
#include "backend/program_run.h"

#include "backend/descriptor_io.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>
#ifdef __linux__
#include <sys/prctl.h>
#endif

#include <array>
#include <bit>
#include <cerrno>
#include <csignal>

namespace backend {
namespace {

constexpr int firstFurtherDescriptor = 3;
constexpr int lastFurtherDescriptor = 1023;
constexpr int notExecuted = 127;

/// What this process itself was started with is none of the program's business.
void closeFurtherDescriptorsOnExec()
{
    for (int fd = firstFurtherDescriptor; fd <= lastFurtherDescriptor; ++fd) {
        const int flags = ::fcntl(fd, F_GETFD);
        if (flags >= 0) {
            (void)::fcntl(fd, F_SETFD, flags | FD_CLOEXEC);
        }
    }
}

/// The program goes when this process goes: nobody else would settle its document.
void endWithParent([[maybe_unused]] pid_t parent)
{
#ifdef __linux__
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (::getppid() != parent) {
        ::_exit(notExecuted);
    }
#endif
}

void resetSignals()
{
    for (const int ignored : {SIGPIPE, SIGXFSZ, SIGHUP}) {
        std::signal(ignored, SIG_DFL);
    }
    sigset_t none;
    sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

/// In the child. A failure is reported through the pipe, which a successful start closes.
[[noreturn]] void becomeProgram(char *const *arguments, pid_t parent, int report)
{
    endWithParent(parent);
    resetSignals();
    const int input = ::open("/dev/null", O_RDONLY);
    if (input >= 0 && ::dup2(input, STDIN_FILENO) == STDIN_FILENO) {
        ::close(input);
        ::execvp(arguments[0], arguments);
    }
    const int error = errno;
    (void)!::write(report, &error, sizeof error);
    ::_exit(notExecuted);
}

/// 0 when the program was started, otherwise the error.
int startError(const FileDescriptor &report)
{
    std::array<char, sizeof(int)> bytes{};
    return readBytes(report.get(), bytes) == static_cast<ssize_t>(bytes.size()) ? std::bit_cast<int>(bytes)
                                                                                : 0;
}

ProgramEnd waitFor(pid_t process)
{
    int status = 0;
    while (::waitpid(process, &status, 0) < 0) {
        if (errno != EINTR) {
            return {ProgramEnd::Kind::notStarted, errno};
        }
    }
    if (WIFSIGNALED(status)) {
        return {ProgramEnd::Kind::signalled, WTERMSIG(status)};
    }
    return {ProgramEnd::Kind::exited, WEXITSTATUS(status)};
}

} // namespace

ProgramEnd runProgram(const std::vector<std::string> &arguments)
{
    std::vector<char *> pointers;
    pointers.reserve(arguments.size() + 1);
    for (const std::string &argument : arguments) {
        pointers.push_back(const_cast<char *>(argument.c_str())); // execvp(3) does not change them
    }
    pointers.push_back(nullptr);
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0) {
        return {ProgramEnd::Kind::notStarted, errno};
    }
    const FileDescriptor report(ends[0]);
    FileDescriptor reporter(ends[1]);
    closeFurtherDescriptorsOnExec();
    const pid_t parent = ::getpid();
    const pid_t process = ::fork();
    if (process == 0) {
        becomeProgram(pointers.data(), parent, reporter.get());
    }
    if (process < 0) {
        return {ProgramEnd::Kind::notStarted, errno};
    }
    reporter = FileDescriptor();
    const int error = startError(report);
    const ProgramEnd end = waitFor(process);
    return error == 0 ? end : ProgramEnd{ProgramEnd::Kind::notStarted, error};
}

} // namespace backend
