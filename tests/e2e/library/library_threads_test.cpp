// SPDX-License-Identifier: MIT
#include "tests/support/FaultRelay.h"
#include "tests/support/LibraryUpload.h"
#include "tests/support/ServerProcess.h"

#include <gtest/gtest.h>

#include <barrier>
#include <thread>

namespace {

/// A program with several threads, each with requests of its own; connections are kept in common.
class LibraryThreads : public testing::Test
{
protected:
    static constexpr int threads = 8;

    struct Upload
    {
        std::string text;
        std::string identifier;
        std::string problem;
    };

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

    /// So many uploads on each thread, one after the other, each with a request of its own.
    [[nodiscard]] std::vector<Upload> uploadOnAllThreads(int port, int rounds) const
    {
        std::vector<Upload> uploads(static_cast<std::size_t>(threads * rounds));
        onAllThreads([&](int thread) {
            for (int round = 0; round < rounds; ++round) {
                const int number = thread * rounds + round;
                Upload &upload = uploads[static_cast<std::size_t>(number)];
                upload.text = incompressibleText(200'000, static_cast<std::uint32_t>(number + 1));
                const std::string path = m_folder.write("document" + std::to_string(number), upload.text);
                LibraryUpload print(plainConnection(port), m_server.login(), path);
                upload.problem = print.run() ? "" : print.error() + print.description();
                upload.identifier = print.identifier();
            }
        });
        return uploads;
    }

    void expectStored(const std::vector<Upload> &uploads) const
    {
        for (const Upload &upload : uploads) {
            EXPECT_EQ(upload.problem, "");
            EXPECT_TRUE(m_server.storedText(upload.identifier) == upload.text) << upload.identifier;
        }
    }

    ServerProcess m_server;
    TemporaryFolder m_folder;
};

} // namespace

TEST_F(LibraryThreads, each_get_their_own_documents_stored_whole)
{
    const std::vector<Upload> uploads = uploadOnAllThreads(m_server.plainPort(), 3);
    expectStored(uploads);
    EXPECT_EQ(m_server.documents().size(), uploads.size());
}

/// A connection is used by one request at a time and then by the next: as many do as there are requests at
/// once.
TEST_F(LibraryThreads, need_no_more_connections_than_there_are_threads)
{
    const FaultRelay relay(m_server.plainPort(), {});
    expectStored(uploadOnAllThreads(relay.port(), 5));
    EXPECT_LE(relay.connections(), static_cast<std::size_t>(threads));
    const std::size_t before = relay.connections();
    onAllThreads([&](int) {
        LibraryRequest request(plainConnection(relay.port()));
        EXPECT_TRUE(request.command("VR_CMD=|MISC:NOP| " + m_server.login())) << request.description();
        EXPECT_TRUE(request.command("VR_CLOSE_SESSION=|YES|"));
    });
    EXPECT_LE(relay.connections(), static_cast<std::size_t>(threads));
    const std::size_t after = relay.connections();
    EXPECT_GE(after, before);
    for (int i = 0; i < 5; ++i) {
        LibraryUpload print(plainConnection(relay.port()), m_server.login(),
                            m_folder.write("again", "a last page"));
        EXPECT_TRUE(print.run()) << print.description();
    }
    EXPECT_EQ(relay.connections(), after) << "one after the other they share what is there";
}

/// What breaks the connections of some leaves the documents of the others alone.
TEST_F(LibraryThreads, get_their_documents_stored_whole_where_connections_are_lost)
{
    std::vector<Fault> faults;
    for (std::uint64_t i = 0; i < 12; ++i) {
        const Fault::Kind kind = i % 2 == 0 ? Fault::Kind::cut : Fault::Kind::reset;
        faults.push_back(
            {i % 3 == 2 ? Fault::Kind::none : kind, Fault::Way::toServer, 100'000 + 20'000 * i, 0});
    }
    const FaultRelay relay(m_server.plainPort(), faults);
    const std::vector<Upload> uploads = uploadOnAllThreads(relay.port(), 3);
    expectStored(uploads);
    EXPECT_EQ(m_server.documents().size(), uploads.size());
    EXPECT_GE(relay.connections(), 2U) << "no connection was lost";
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
            const bool isDone = request.command(
                "VR_CMD=|MISC:NOP| " +
                (isRefused ? "POD_USER=|nobody" + std::to_string(thread) + "|" : m_server.login()));
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
