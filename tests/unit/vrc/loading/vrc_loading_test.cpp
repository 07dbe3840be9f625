// SPDX-License-Identifier: MIT
#include "tests/support/TemporaryFolder.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <vrc.h>

#include <array>
#include <barrier>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr char connection[] = R"(Unicode="YES" Server="127.0.0.1:9" Application="a" User="" Password="")";

/// The library as a program finds it in a folder of its own.
class LoadedLibrary : public testing::Test
{
protected:
    void load(std::initializer_list<const char *> files, std::initializer_list<const char *> damaged = {})
    {
        for (const char *file : damaged) {
            m_folder.write(file, "no library");
        }
        for (const char *file : files) {
            std::filesystem::copy(std::filesystem::path(VAREK_BUILD_DIR "/Frameworks") / file,
                                  m_folder.path());
        }
        // A path of its own makes it a library of its own; the sanitizers forbid unloading it.
        m_library = dlopen(m_folder.file("libvrc.so").c_str(), RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(m_library, nullptr) << dlerror();
        openRequest = reinterpret_cast<decltype(&VrOpenRequest)>(dlsym(m_library, "VrOpenRequest"));
        command = reinterpret_cast<decltype(&VrCommand)>(dlsym(m_library, "VrCommand"));
        closeRequest = reinterpret_cast<decltype(&VrCloseRequest)>(dlsym(m_library, "VrCloseRequest"));
    }

    decltype(&VrOpenRequest) openRequest = nullptr;
    decltype(&VrCommand) command = nullptr;
    decltype(&VrCloseRequest) closeRequest = nullptr;

private:
    TemporaryFolder m_folder;
    void *m_library = nullptr;
};

TEST_F(LoadedLibrary, the_part_beside_it_is_found_by_the_first_request)
{
    load({"libvrc.so", "libvrc-core.so"});
    void *request = openRequest(connection);
    ASSERT_NE(request, nullptr);
    char session[65] = "stale";
    EXPECT_EQ(command(request, "VR_CMD=|LOCAL:REQUEST:GET_SESSION_ID|", session, sizeof session, nullptr), 1);
    EXPECT_STREQ(session, "");
    closeRequest(request);
}

TEST_F(LoadedLibrary, the_part_beside_it_is_found_by_the_first_requests_of_several_threads)
{
    load({"libvrc.so", "libvrc-core.so"});
    std::barrier start(8);
    std::array<void *, 8> requests{};
    {
        std::vector<std::jthread> threads;
        threads.reserve(requests.size());
        for (void *&request : requests) {
            threads.emplace_back([this, &start, &request] {
                start.arrive_and_wait();
                request = openRequest(connection);
            });
        }
    }
    for (void *request : requests) {
        EXPECT_NE(request, nullptr);
        closeRequest(request);
    }
}

TEST_F(LoadedLibrary, a_part_that_is_no_library_gives_no_request)
{
    load({"libvrc.so"}, {"libvrc-core.so"});
    EXPECT_EQ(openRequest(connection), nullptr);
}

TEST_F(LoadedLibrary, a_missing_part_gives_no_request)
{
    load({"libvrc.so"});
    EXPECT_EQ(openRequest(connection), nullptr);
}

TEST_F(LoadedLibrary, a_command_without_a_request_fails_and_clears_the_result)
{
    load({"libvrc.so"});
    char result[8] = "stale";
    EXPECT_EQ(command(nullptr, "VR_CMD=|MISC:NOP|", result, sizeof result, nullptr), 0);
    EXPECT_STREQ(result, "");
    EXPECT_EQ(command(nullptr, "VR_CMD=|MISC:NOP|", nullptr, 8, nullptr), 0);
    result[0] = 's';
    EXPECT_EQ(command(nullptr, "VR_CMD=|MISC:NOP|", result, 0, nullptr), 0);
    EXPECT_EQ(result[0], 's') << "there is no room for as much as the end of a text";
    closeRequest(nullptr);
}

} // namespace
