// SPDX-License-Identifier: MIT
#include "tests/support/RawClientTest.h"
#include "tests/support/file_bytes.h"
#include "tests/support/sample_documents.h"

#include <algorithm>
#include <chrono>
#include <random>
#include <thread>
#include <vector>

using ::testing::HasSubstr;
using ::testing::Not;

namespace {

/// What happens to sessions and documents when clients forge, repeat, overtake, crowd, or the server dies.
class HostileSessions : public RawClientTest
{};

} // namespace

TEST_F(HostileSessions, forged_sessions_and_replayed_numbers_get_nowhere)
{
    FrameClient client(m_server);
    const std::string id = openUpload(client);
    std::string forged = id;
    forged.back() = forged.back() == '0' ? '1' : '0';
    for (const std::string &other :
         {forged, std::string(), std::string(64, '0'), id + "0", std::string("../../etc")}) {
        EXPECT_THAT(client.ask(RequestText().session(other).command(2, "VR_CMD=|MISC:NOP|")).lines,
                    ::testing::ElementsAre("X 0 SYSTEM/SESSION/101", "Z 0"));
    }
    const std::string append = "VR_CMD=|OBJECT:FILE_APPEND| NAME=|T| SNAME=|B|";
    const auto upload = RequestText()
                            .session(id, 1)
                            .command(2, "VR_CMD=|OBJECT:CREATE| TYPE=|FILE| NAME=|T|")
                            .queued(3, "VR_CMD=|OBJECT:SEND| NAME=|B|")
                            .file("B", "12345")
                            .queued(4, append);
    client.ask(upload);
    client.ask(upload);
    client.ask(upload);
    EXPECT_THAT(
        client.ask(RequestText().session(id, 1).command(5, "VR_CMD=|OBJECT:FILE_GET_SIZE| NAME=|T|")).lines,
        ::testing::Contains("R 5 5"));
}

TEST_F(HostileSessions, a_later_request_supersedes_one_that_is_still_arriving)
{
    FrameClient client(m_server);
    const std::string id = openUpload(client);
    const LoopbackSocket open = connect();
    const std::string frames = RequestText()
                                   .session(id, 1)
                                   .command(2, "VR_CMD=|OBJECT:CREATE| TYPE=|FILE| NAME=|T|")
                                   .queued(3, "VR_CMD=|OBJECT:SEND| NAME=|B|")
                                   .file("B", "12345")
                                   .queued(4, "VR_CMD=|OBJECT:FILE_APPEND| NAME=|T| SNAME=|B|", 0)
                                   .text;
    open.send(m_postHead + "Content-Length: 1000000\r\n\r\n" + frames);
    // What has arrived is carried out and stays.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    std::vector<std::string> lines;
    // A query that comes before the frames does not cut them off, one that comes between them does.
    while (lines != std::vector<std::string>{"P 4 5", "Z 4"} && !open.isReadable() &&
           std::chrono::steady_clock::now() < deadline) {
        lines = client.ask(RequestText().session(id, 1).query("T")).lines;
    }
    EXPECT_THAT(open.receiveAll(), Not(HasSubstr("200 OK")));
    EXPECT_THAT(client.ask(RequestText().session(id, 1).end()).lines.size(), 1U);
}

TEST_F(HostileSessions, a_large_object_comes_back_whole_over_the_network)
{
    FrameClient client(m_server);
    const std::string id = openUpload(client);
    std::string bytes(3'000'000, '\0');
    std::mt19937 random(1);
    std::ranges::generate(bytes, [&] { return static_cast<char>(random()); });
    const AnswerText answer = client.ask(RequestText()
                                             .session(id, 1)
                                             .command(2, "VR_CMD=|OBJECT:SEND| NAME=|F|")
                                             .file("F", bytes)
                                             .command(3, "VR_CMD=|OBJECT:GET| NAME=|F|"));
    EXPECT_THAT(answer.lines, ::testing::ElementsAre("R 2", "R 3", "O F 3000000", "Z 3"));
    EXPECT_EQ(answer.data, bytes);
}

TEST_F(HostileSessions, documents_and_users_survive_a_power_failure)
{
    FrameClient client(m_server);
    const std::string id = uploadDocument(client, m_server.user(), m_server.password(), samplePdf("kept"),
                                          "kept.pdf", ++m_nonce);
    const std::string half = openUpload(client);
    client.ask(RequestText()
                   .session(half, 1)
                   .command(2, "VR_CMD=|OBJECT:SEND| NAME=|F|")
                   .file("F", std::string(200'000, 'x')));
    m_server.kill();
    m_server.start();
    ASSERT_EQ(m_server.documents().size(), 1U);
    EXPECT_EQ(m_server.documents()[0][0], id);
    EXPECT_TRUE(std::filesystem::is_empty(m_server.data() / "sessions"));
    FrameClient again(m_server);
    EXPECT_FALSE(openUpload(again).empty());
    EXPECT_EQ(m_server.terminate(), 0);
    m_server.start();
}

TEST_F(HostileSessions, many_clients_at_once_each_get_their_document_stored_whole)
{
    constexpr std::size_t clients = 16;
    std::vector<std::string> contents;
    std::vector<std::string> ids(clients);
    for (std::size_t i = 0; i < clients; ++i) {
        std::mt19937 random(static_cast<unsigned int>(i));
        contents.push_back("%PDF-1.4\n");
        for (int k = 0; k < 300'000; ++k) {
            contents.back() += static_cast<char>(random());
        }
    }
    {
        std::vector<std::jthread> threads;
        for (std::size_t i = 0; i < clients; ++i) {
            threads.emplace_back([&, i] {
                FrameClient client(m_server);
                ids[i] = uploadDocument(client, m_server.user(), m_server.password(), contents[i], "x.pdf",
                                        static_cast<std::uint8_t>(i + 1));
            });
        }
        m_server.configure("[Limits]\nSessions=500\n"); // while they upload
    }
    EXPECT_EQ(m_server.documents().size(), clients);
    for (const auto &document : m_server.documents()) {
        const auto found = std::ranges::find(ids, document[0]);
        ASSERT_NE(found, ids.end());
        EXPECT_TRUE(fileBytes(m_server.documentFile(document)) ==
                    contents[static_cast<std::size_t>(found - ids.begin())]);
    }
}

TEST_F(HostileSessions, requests_of_one_session_on_many_connections_are_carried_out_one_after_the_other)
{
    FrameClient opener(m_server);
    const std::string id = openUpload(opener);
    opener.ask(RequestText().session(id, 1).command(2, "VR_CMD=|OBJECT:CREATE| TYPE=|FILE| NAME=|T|"));
    constexpr int clients = 6;
    std::vector<std::jthread> threads;
    threads.reserve(clients);
    for (int thread = 0; thread < clients; ++thread) {
        threads.emplace_back([&] {
            FrameClient client(m_server);
            for (int round = 0; round < 20; ++round) {
                try {
                    client.ask(RequestText()
                                   .session(id, 1)
                                   .queued(3, "VR_CMD=|OBJECT:SEND| NAME=|B|")
                                   .file("B", std::string(1000, 'x'))
                                   .queued(4, "VR_CMD=|OBJECT:FILE_APPEND| NAME=|T| SNAME=|B|", 0));
                } catch (const std::exception &) {
                    continue; // superseded by another thread's request
                }
            }
        });
    }
    threads.clear();
    opener.ask(RequestText()
                   .session(id, 1)
                   .queued(3, "VR_CMD=|OBJECT:SEND| NAME=|B|")
                   .file("B", std::string(1000, 'x'))
                   .queued(4, "VR_CMD=|OBJECT:FILE_APPEND| NAME=|T| SNAME=|B|", 0));
    EXPECT_THAT(opener.ask(RequestText().session(id, 1).query("T")).lines,
                ::testing::ElementsAre("P 4 1000", "Z 4"));
}
