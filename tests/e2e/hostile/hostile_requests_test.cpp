// SPDX-License-Identifier: MIT
#include "tests/support/RawClientTest.h"

#include <chrono>
#include <random>
#include <vector>

using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

namespace {

/// Requests that no client of good will sends.
class HostileRequests : public RawClientTest
{};

} // namespace

TEST_F(HostileRequests, requests_that_do_not_belong_here_are_refused_and_the_connection_is_closed)
{
    const std::pair<std::string, std::string> cases[]{
        {"nonsense\r\n\r\n", "HTTP/1.1 400"},
        {"DELETE /vrc HTTP/1.1\r\nHost: x\r\n\r\n", "HTTP/1.1 405"},
        {"POST /elsewhere HTTP/1.1\r\nHost: x\r\nContent-Length: 5\r\n\r\nhello", "HTTP/1.1 404"},
        {"GET /vrc HTTP/1.1\r\nHost: x\r\nContent-Length: 5\r\n\r\nhello", "HTTP/1.1 400"},
        {"POST /vrc HTTP/1.1\r\nHost: x\r\n\r\n", "HTTP/1.1 411"},
        {m_postHead + "Content-Length: 5\r\nContent-Length: 6\r\n\r\nhello!", "HTTP/1.1 400"},
        {m_postHead + "Content-Length: 5\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n", "HTTP/1.1 400"},
        {m_postHead + "Content-Length: 5\r\nContent-Encoding: gzip\r\n\r\nhello", "HTTP/1.1 415"},
        {"POST /vrc HTTP/1.1\r\nHost: x\r\nContent-Type: text/plain\r\nContent-Length: 5\r\n\r\nhello",
         "HTTP/1.1 415"},
        {m_postHead + "Content-Length: 99999999999999999999999\r\n\r\n", "HTTP/1.1 413"},
    };
    for (const auto &[request, status] : cases) {
        EXPECT_THAT(ask(request), StartsWith(status)) << request;
    }
    expectAlive();
}

TEST_F(HostileRequests, a_header_without_end_is_cut_off)
{
    m_server.configure("[Limits]\nHeaderSeconds=1\n");
    const LoopbackSocket endless = connect();
    endless.send("GET /vrc HTTP/1.1\r\n");
    const auto begin = std::chrono::steady_clock::now();
    bool taken = true;
    while (taken && std::chrono::steady_clock::now() - begin < std::chrono::seconds(30)) {
        taken = endless.send("X-Filler: " + std::string(1000, 'x') + "\r\n");
    }
    EXPECT_FALSE(taken);

    const LoopbackSocket slow = connect();
    const auto start = std::chrono::steady_clock::now();
    slow.send("GET /vrc HTTP/1.1\r\nHost: ");
    EXPECT_THAT(slow.receiveAll(), Not(HasSubstr("200 OK")));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(15));
    expectAlive();
}

TEST_F(HostileRequests, a_body_over_the_limit_is_cut_off_whether_announced_or_not)
{
    m_server.configure("[Limits]\nRequestBytes=100000\n");
    EXPECT_THAT(ask(m_postHead + "Content-Length: 100001\r\n\r\n"), StartsWith("HTTP/1.1 413"));
    const LoopbackSocket chunked = connect();
    chunked.send(m_postHead + "Transfer-Encoding: chunked\r\n\r\n");
    const std::string frames =
        RequestText().hello("directory").command(1, "VR_PROC=|Nothing|" + std::string(60'000, ' ')).text;
    std::string chunk = "EA60\r\n" + frames.substr(0, 60'000) + "\r\n";
    chunked.send(chunk);
    chunked.send(chunk);
    chunked.send(chunk);
    EXPECT_THAT(chunked.receiveAll(), ::testing::ContainsRegex("HTTP/1.1 (413|200)"));
    expectAlive();
}

TEST_F(HostileRequests, more_connections_than_allowed_are_told_so)
{
    m_server.configure("[Limits]\nConnections=5\n");
    std::vector<LoopbackSocket> idle;
    for (int i = 0; i < 5; ++i) {
        idle.push_back(connect());
        idle.back().send("GET /vrc HTTP/1.1\r\nHost: x\r\n\r\n");
        EXPECT_THAT(idle.back().receive(), StartsWith("HTTP/1.1 204"));
    }
    const LoopbackSocket refused = connect();
    EXPECT_THAT(refused.receiveAll(), StartsWith("HTTP/1.1 503"));
    idle.clear();
    m_server.configure("[Limits]\nConnections=100\n");
    expectAlive();
}

TEST_F(HostileRequests, garbage_instead_of_frames_is_a_malformed_request)
{
    std::mt19937 random(4711);
    FrameClient client(m_server);
    for (int round = 0; round < 50; ++round) {
        RequestText garbage;
        if (round % 2 == 1) {
            garbage.hello("directory", 1);
        }
        for (int i = 0; i < 200; ++i) {
            garbage.text += static_cast<char>(random());
        }
        EXPECT_THAT(client.ask(garbage).lines, ::testing::Contains("X 0 SYSTEM/PROTOCOL/101"));
    }
    expectAlive();
}
