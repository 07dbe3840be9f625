// SPDX-License-Identifier: MIT
#include "tests/support/LibraryUpload.h"
#include "tests/support/server_process.h"

#include <gtest/gtest.h>

#include <barrier>
#include <fstream>
#include <thread>

namespace {

/// A program with several threads, each with requests of its own; connections are kept in common.
class LibraryThreads : public testing::Test
{
protected:
    static constexpr int threads = 8;
    static constexpr int rounds = 3;

    /// Runs the work on all threads, which begin at the same moment.
    template <typename Work>
    static void onAllThreads(Work work)
    {
        std::barrier start(threads);
        std::vector<std::jthread> running;
        running.reserve(threads);
        for (int thread = 0; thread < threads; ++thread) {
            running.emplace_back([&start, &work, thread] {
                start.arrive_and_wait();
                work(thread);
            });
        }
    }

    [[nodiscard]] std::string login() const
    {
        return "POD_USER=|" + m_server.user() + "| POD_PASSWORD=|" + m_server.password() + "|";
    }

    [[nodiscard]] std::string storedText(const std::string &identifier) const
    {
        std::ifstream stream(m_server.data() / "documents" / (identifier + ".txt"), std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    }

    ServerProcess m_server;
    TemporaryFolder m_folder;
};

} // namespace

TEST_F(LibraryThreads, each_get_their_own_documents_stored_whole)
{
    struct Upload
    {
        std::string text;
        std::string identifier;
        std::string problem;
    };

    std::vector<Upload> uploads(static_cast<std::size_t>(threads * rounds));
    onAllThreads([&](int thread) {
        for (int round = 0; round < rounds; ++round) {
            const int number = thread * rounds + round;
            Upload &upload = uploads[static_cast<std::size_t>(number)];
            upload.text = incompressibleText(200'000, static_cast<std::uint32_t>(number + 1));
            const std::string path = m_folder.write("document" + std::to_string(number), upload.text);
            LibraryUpload print(plainConnection(m_server.plainPort()), login(), path);
            upload.problem = print.run() ? "" : print.error() + print.description();
            upload.identifier = print.identifier();
        }
    });
    for (const Upload &upload : uploads) {
        EXPECT_EQ(upload.problem, "");
        EXPECT_TRUE(storedText(upload.identifier) == upload.text) << upload.identifier;
    }
    EXPECT_EQ(m_server.documents().size(), uploads.size());
}

TEST_F(LibraryThreads, errors_and_sessions_of_one_request_are_never_those_of_another)
{
    std::array<std::string, threads> outcomes;
    std::array<std::string, threads> sessions;
    onAllThreads([&](int thread) {
        const bool isRefused = thread % 2 == 1;
        const auto place = static_cast<std::size_t>(thread);
        for (int round = 0; round < 8; ++round) {
            LibraryRequest request(plainConnection(m_server.plainPort()));
            const bool isDone =
                request.command("VR_CMD=|MISC:NOP| " +
                                (isRefused ? "POD_USER=|nobody" + std::to_string(thread) + "|" : login()));
            outcomes[place] = isDone ? "done" : request.error();
            request.command("VR_CMD=|LOCAL:REQUEST:GET_SESSION_ID|");
            sessions[place] = request.result();
            request.command("VR_CLOSE_SESSION=|YES|");
        }
    });
    for (std::size_t thread = 0; thread < outcomes.size(); ++thread) {
        EXPECT_EQ(outcomes[thread], thread % 2 == 1 ? "SYSTEM/SECURITY/101" : "done");
        EXPECT_EQ(sessions[thread].size(), 64U);
        EXPECT_EQ(std::count(sessions.begin(), sessions.end(), sessions[thread]), 1);
    }
}
