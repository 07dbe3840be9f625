// SPDX-License-Identifier: MIT
#pragma once

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

/// Programs that use the real client library run it from a folder of their own, so that each run has its own
/// trusted certificate authority beside it (vrc-ca.pem). Child processes inherit the folder.
class PrivateLibrary
{
public:
    /// The folder of this run; null before it was entered.
    static const char *folder() { return std::getenv(variable); }

    /// Runs this program once more with the library in a folder that is removed afterwards; its exit status.
    static int runAgain(char **argv)
    {
        std::string made = (std::filesystem::temp_directory_path() / "libvrc-XXXXXX").string();
        if (::mkdtemp(made.data()) == nullptr) {
            std::perror("mkdtemp");
            return 1;
        }
        const int status = runIn(made, argv);
        std::filesystem::remove_all(made);
        return status;
    }

private:
    static constexpr char variable[] = "VAREK_LIBRARY_FOLDER";

    static int runIn(const std::filesystem::path &place, char **argv)
    {
        for (const char *library : {"libvrc.so", "libvrc-core.so"}) {
            std::filesystem::copy_file(std::filesystem::path(VAREK_BUILD_DIR "/Frameworks") / library,
                                       place / library);
        }
        ::setenv(variable, place.c_str(), 1);
        ::setenv("LD_LIBRARY_PATH", place.c_str(), 1);
        const pid_t child = ::fork();
        if (child == 0) {
            ::execv("/proc/self/exe", argv);
            std::perror("execv");
            ::_exit(127);
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
};
