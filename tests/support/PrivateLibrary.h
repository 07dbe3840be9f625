// SPDX-License-Identifier: MIT
#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

/// Programs that use the real client library run it from a folder of their own, so that each run has its own
/// trusted certificate authority beside it (vrc-ca.pem). Child processes inherit the folder.
class PrivateLibrary
{
public:
    /// The folder of this run; null before it was entered.
    static const char *folder() { return std::getenv(variable); }

    /// Copied: the program stands in the folder too, since the library is a part of it.
    enum class Program
    {
        inPlace,
        copied
    };

    /// Runs this program once more with the library in a folder that is removed afterwards; its exit status.
    static int runAgain(char **argv, Program program = Program::inPlace)
    {
        std::string made = (std::filesystem::temp_directory_path() / "libvrc-XXXXXX").string();
        if (::mkdtemp(made.data()) == nullptr) {
            std::perror("mkdtemp");
            return 1;
        }
        const int status = runIn(made, argv, program);
        std::filesystem::remove_all(made);
        return status;
    }

private:
    static constexpr char variable[] = "VAREK_LIBRARY_FOLDER";

    static int runIn(const std::filesystem::path &place, char **argv, Program program)
    {
        for (const char *library : {"libvrc.so", "libvrc-core.so"}) {
            std::filesystem::copy_file(std::filesystem::path(VAREK_BUILD_DIR "/Frameworks") / library,
                                       place / library);
        }
        std::string executable = "/proc/self/exe";
        if (program == Program::copied) {
            executable = place / "program";
            std::filesystem::copy_file("/proc/self/exe", executable);
            argv[0] = executable.data(); // where the library looks for the authority beside it
        }
        ::setenv(variable, place.c_str(), 1);
        ::setenv("LD_LIBRARY_PATH", place.c_str(), 1);
        const pid_t child = ::fork();
        if (child == 0) {
            ::execv(executable.c_str(), argv);
            std::perror("execv");
            ::_exit(127);
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
};
