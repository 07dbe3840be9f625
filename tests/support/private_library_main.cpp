// SPDX-License-Identifier: MIT

// main of tests that use the real client library: it is loaded from a folder of this run alone, so that each
// run has its own trusted certificate authority beside it (vrc-ca.pem). Child processes inherit the folder.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr char folderVariable[] = "VAREK_LIBRARY_FOLDER";

int runInFolder(const std::filesystem::path &folder, char **argv)
{
    for (const char *library : {"libvrc.so", "libvrc-core.so"}) {
        std::filesystem::copy_file(std::filesystem::path(VAREK_BUILD_DIR "/Frameworks") / library,
                                   folder / library);
    }
    ::setenv(folderVariable, folder.c_str(), 1);
    ::setenv("LD_LIBRARY_PATH", folder.c_str(), 1);
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

} // namespace

int main(int argc, char **argv)
{
    if (std::getenv(folderVariable) != nullptr) {
        testing::InitGoogleTest(&argc, argv);
        return RUN_ALL_TESTS();
    }
    std::string folder = (std::filesystem::temp_directory_path() / "libvrc-XXXXXX").string();
    if (::mkdtemp(folder.data()) == nullptr) {
        std::perror("mkdtemp");
        return 1;
    }
    const int status = runInFolder(folder, argv);
    std::filesystem::remove_all(folder);
    return status;
}
