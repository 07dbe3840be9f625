// SPDX-License-Identifier: MIT
#include "tests/support/RawClientTest.h"
#include "tests/support/wait_for.h"

#include <sys/ioctl.h>
#include <sys/resource.h>

#include <algorithm>

using ::testing::ElementsAre;
using ::testing::StartsWith;

namespace {

using Clock = std::chrono::steady_clock;

int countOf(std::string_view what, std::string_view text)
{
    int count = 0;
    for (std::size_t at = text.find(what); at != text.npos; at = text.find(what, at + what.size())) {
        ++count;
    }
    return count;
}

/// More bytes than the system keeps for a connection whose other side does not read.
std::string moreThanAConnectionKeeps()
{
    std::string bytes;
    bytes.resize(30'000'000, 'x');
    return bytes;
}

/// What the server does with clients that take their time, and with more of them than it has room for.
class ConnectionLimits : public RawClientTest
{
protected:
    [[nodiscard]] std::size_t openDescriptors() const
    {
        const std::filesystem::path folder = "/proc/" + std::to_string(m_server.pid()) + "/fd";
        return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
    }
};

} // namespace

TEST_F(ConnectionLimits, a_tls_handshake_that_never_comes_is_given_up)
{
    m_server.configure("[Limits]\nHeaderSeconds=1\n");
    const LoopbackSocket silent = LoopbackSocket::connection(m_server.port());
    const auto start = Clock::now();
    EXPECT_EQ(silent.receiveAll(), "");
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(900));
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(30));
    expectAlive();
}

TEST_F(ConnectionLimits, what_is_no_tls_on_a_port_of_tls_is_closed)
{
    const LoopbackSocket socket = LoopbackSocket::connection(m_server.port());
    socket.send("GET /vrc HTTP/1.1\r\nHost: x\r\n\r\n");
    EXPECT_EQ(socket.receiveAll().find("HTTP/1.1"), std::string::npos);
    expectAlive();
}

TEST_F(ConnectionLimits, connections_far_beyond_the_limit_are_closed_without_a_word)
{
    m_server.configure("[Limits]\nConnections=1\n");
    std::vector<LoopbackSocket> sockets;
    std::string answer = "none yet";
    // Nobody reads or closes: each connection keeps its place until the server gives it up.
    for (int i = 0; i < 200 && !answer.empty(); ++i) {
        sockets.push_back(connect());
        if (i > 0) {
            answer = sockets.back().receive();
            EXPECT_TRUE(answer.empty() || answer.starts_with("HTTP/1.1 503 ")) << answer;
        }
    }
    EXPECT_EQ(answer, "");
    EXPECT_GT(sockets.size(), 5U) << "a few are told why";
    sockets.clear();
    m_server.configure("[Limits]\nConnections=100\n");
    waitFor("a free place", [&] {
        return ask("GET /vrc HTTP/1.1\r\nHost: x\r\nConnection: close\r\n\r\n").starts_with("HTTP/1.1 204");
    });
}

TEST_F(ConnectionLimits, without_descriptors_clients_wait_until_there_are_some_again)
{
    rlimit before{};
    ASSERT_EQ(::prlimit(m_server.pid(), RLIMIT_NOFILE, nullptr, &before), 0);
    const rlimit none{openDescriptors(), before.rlim_max};
    ASSERT_EQ(::prlimit(m_server.pid(), RLIMIT_NOFILE, &none, nullptr), 0);
    std::vector<LoopbackSocket> clients; // the first ones may still find a number that was given back
    waitFor("the first refusal for want of descriptors", [&] {
        clients.push_back(connect());
        clients.back().send("GET /vrc HTTP/1.1\r\nHost: x\r\n\r\n");
        return m_server.log().find("cannot accept a connection: Too many open files") != std::string::npos;
    });
    ASSERT_EQ(::prlimit(m_server.pid(), RLIMIT_NOFILE, &before, nullptr), 0);
    EXPECT_THAT(clients.back().receive(), StartsWith("HTTP/1.1 204"));
}

TEST_F(ConnectionLimits, a_client_that_reads_late_gets_everything)
{
    FrameClient client(m_server);
    const std::string id = openUpload(client);
    const std::string bytes = moreThanAConnectionKeeps();
    client.ask(RequestText().session(id, 1).command(2, "VR_CMD=|OBJECT:SEND| NAME=|F|").file("F", bytes));
    const std::string body = RequestText().session(id, 2).command(3, "VR_CMD=|OBJECT:GET| NAME=|F|").text;
    const LoopbackSocket late = connect();
    late.send(m_postHead + "Connection: close\r\nContent-Length: " + std::to_string(body.size()) +
              "\r\n\r\n" + body);
    // Read only once no more arrives: then the server waits for this client.
    int arrived = 0;
    int last = -1;
    waitFor("the system holding all that it takes for a late reader", [&] {
        last = arrived;
        ::poll(nullptr, 0, 100);
        return ::ioctl(late.descriptor(), FIONREAD, &arrived) == 0 && arrived > 0 && arrived == last;
    });
    const std::string answer = late.receiveAll();
    EXPECT_GT(answer.size(), bytes.size());
    EXPECT_GE(std::ranges::count(answer, 'x'), 30'000'000);
}

TEST_F(ConnectionLimits, a_client_that_leaves_in_the_middle_of_an_answer_ends_its_connection_alone)
{
    FrameClient client(m_server);
    const std::string id = openUpload(client);
    const std::string bytes = moreThanAConnectionKeeps();
    client.ask(RequestText().session(id, 1).command(2, "VR_CMD=|OBJECT:SEND| NAME=|F|").file("F", bytes));
    const std::string body = RequestText().session(id, 2).command(3, "VR_CMD=|OBJECT:GET| NAME=|F|").text;
    {
        LoopbackSocket leaving = connect();
        leaving.send(m_postHead + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body);
        EXPECT_THAT(leaving.receive(), StartsWith("HTTP/1.1 200"));
        leaving.reset();
    }
    EXPECT_THAT(
        client.ask(RequestText().session(id, 2).command(4, "VR_CMD=|OBJECT:FILE_GET_SIZE| NAME=|F|")).lines,
        ElementsAre("R 4 30000000", "Z 4"));
}

TEST_F(ConnectionLimits, a_server_that_ends_does_not_wait_for_ever_for_what_still_arrives)
{
    const LoopbackSocket half = connect();
    half.send(m_postHead + "Content-Length: 1000\r\n\r\n" + RequestText().hello("directory", 1).text);
    waitFor("the half request to be taken", [&] {
        int unsent = -1;
        return ::ioctl(half.descriptor(), TIOCOUTQ, &unsent) == 0 && unsent == 0;
    });
    const LoopbackSocket idle = connect();
    idle.send("GET /vrc HTTP/1.1\r\nHost: x\r\n\r\n");
    EXPECT_THAT(idle.receive(), StartsWith("HTTP/1.1 204"));
    const auto start = Clock::now();
    EXPECT_EQ(m_server.terminate(), 0);
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(30));
    EXPECT_EQ(idle.receiveAll(), "");
}

TEST_F(ConnectionLimits, a_connection_is_kept_for_ten_thousand_requests)
{
    const LoopbackSocket socket = connect();
    constexpr int batch = 100;
    std::string requests;
    for (int i = 0; i < batch; ++i) {
        requests += "GET /vrc HTTP/1.1\r\nHost: x\r\n\r\n";
    }
    const auto answersTo = [&] {
        std::string answers;
        int count = 0;
        socket.send(requests);
        while (count < batch) {
            const std::string piece = socket.receive();
            if (piece.empty()) {
                break;
            }
            answers += piece;
            count = countOf("\r\n\r\n", answers);
        }
        return answers;
    };
    for (int sent = 0; sent < 9'900; sent += batch) {
        ASSERT_EQ(countOf("HTTP/1.1 204", answersTo()), batch) << "behind " << sent;
    }
    const std::string last = answersTo();
    EXPECT_EQ(countOf("HTTP/1.1 204", last), batch);
    EXPECT_EQ(countOf("Connection: close", last), 1) << "the last one says so";
    EXPECT_EQ(socket.receiveAll(), "");
}

TEST_F(ConnectionLimits, headers_that_can_be_read_in_two_ways_are_refused)
{
    const std::string get = "GET /vrc HTTP/1.1\r\nHost: x\r\n";
    const std::pair<std::string, std::string> cases[]{
        {m_postHead + "Content-Length: five\r\n\r\nhello", "HTTP/1.1 400"},
        {m_postHead + "Content-Length: 5, 5\r\n\r\nhello", "HTTP/1.1 400"},
        {m_postHead + "Transfer-Encoding: gzip\r\n\r\nhello", "HTTP/1.1 400"},
        {m_postHead + "Transfer-Encoding: chunked\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n",
         "HTTP/1.1 400"},
        {"GET /" + std::string(300, 'x') + " HTTP/1.1\r\nHost: x\r\n\r\n", "HTTP/1.1 400"},
        {get + "Range: bytes=0-1,2-3\r\n\r\n", "HTTP/1.1 400"},
        {get + "Transfer-Encoding: chunked\r\n\r\n0\r\n\r\n", "HTTP/1.1 400"},
        {get + "Content-Length: 0\r\nConnection: close\r\n\r\n", "HTTP/1.1 204"},
        {"HEAD /vrc HTTP/1.1\r\nHost: x\r\nConnection: close\r\n\r\n", "HTTP/1.1 204"},
    };
    for (const auto &[request, status] : cases) {
        EXPECT_THAT(ask(request), StartsWith(status)) << request;
    }
    expectAlive();
}

TEST_F(ConnectionLimits, a_body_that_drips_frame_by_frame_is_too_slow)
{
    m_server.configure("[Limits]\nBodyBytesPerSecond=1000\nBodyRateSeconds=1\n");
    FrameClient client(m_server);
    const std::string id = openUpload(client);
    RequestText request = RequestText().session(id, 1).command(2, "VR_CMD=|OBJECT:SEND| NAME=|F|");
    request.add(wire::ObjectFrame{wire::ObjectType::file, "F", 65536});
    wire::appendDataHeader(request.text, 65536);
    const LoopbackSocket drip = connect();
    drip.send(m_postHead + "Content-Length: 1000000\r\n\r\n" + request.text);
    const auto start = Clock::now();
    waitFor("the dripping client to be cut off", [&] {
        ::poll(nullptr, 0, 50); // this is what a dripping client does
        return !drip.send("x");
    });
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(900)) << "it had its second";
    EXPECT_THAT(client.ask(RequestText().session(id, 1).command(2, "VR_CMD=|MISC:NOP|")).lines,
                ElementsAre("R 2", "Z 2"))
        << "the object was cut off, and its command never carried out";
}
