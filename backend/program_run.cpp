// SPDX-License-Identifier: MIT
#include "backend/program_run.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

#include <cerrno>
#include <csignal>

extern char **environ; // NOLINT(readability-redundant-declaration): not in every system's headers

namespace backend {
namespace {

constexpr int firstFurtherDescriptor = 3;
constexpr int lastFurtherDescriptor = 1023;

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

/// Owns the two descriptions of how a process is started.
class SpawnSettings
{
public:
    SpawnSettings()
    {
        posix_spawn_file_actions_init(&m_actions);
        posix_spawn_file_actions_addopen(&m_actions, 0, "/dev/null", O_RDONLY, 0);
        posix_spawnattr_init(&m_attributes);
        sigset_t signals;
        sigemptyset(&signals);
        posix_spawnattr_setsigmask(&m_attributes, &signals);
        for (const int ignored : {SIGPIPE, SIGXFSZ, SIGHUP}) {
            sigaddset(&signals, ignored);
        }
        posix_spawnattr_setsigdefault(&m_attributes, &signals);
        posix_spawnattr_setflags(&m_attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }

    SpawnSettings(const SpawnSettings &) = delete;
    SpawnSettings &operator=(const SpawnSettings &) = delete;

    ~SpawnSettings()
    {
        posix_spawnattr_destroy(&m_attributes);
        posix_spawn_file_actions_destroy(&m_actions);
    }

    [[nodiscard]] const posix_spawn_file_actions_t *actions() const { return &m_actions; }

    [[nodiscard]] const posix_spawnattr_t *attributes() const { return &m_attributes; }

private:
    posix_spawn_file_actions_t m_actions{};
    posix_spawnattr_t m_attributes{};
};

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
    closeFurtherDescriptorsOnExec();
    std::vector<char *> pointers;
    pointers.reserve(arguments.size() + 1);
    for (const std::string &argument : arguments) {
        pointers.push_back(const_cast<char *>(argument.c_str())); // posix_spawn(3) does not change them
    }
    pointers.push_back(nullptr);
    const SpawnSettings settings;
    pid_t process = 0;
    const int error = ::posix_spawnp(&process, pointers[0], settings.actions(), settings.attributes(),
                                     pointers.data(), environ);
    return error == 0 ? waitFor(process) : ProgramEnd{ProgramEnd::Kind::notStarted, error};
}

} // namespace backend
