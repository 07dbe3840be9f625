// SPDX-License-Identifier: MIT
#include "tests/support/HttpPeer.h"
#include "tests/support/LibraryUpload.h"
#include "tests/support/ScopedVariable.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/sanitizers.h"
#include "wire/frames.h"

#include <gtest/gtest.h>

#include <chrono>

namespace {

using namespace std::string_literals;
using Seconds = std::chrono::seconds;

constexpr const char *pageHeader = "HTTP/1.1 200 OK\r\nContent-Type: text/html\r\n";
constexpr const char *framesHeader = "HTTP/1.1 200 OK\r\nContent-Type: application/vnd.varek.frames\r\n";

std::string chunked(const std::string &header)
{
    return header + "Transfer-Encoding: chunked\r\n\r\n";
}

std::string chunk(const std::string &bytes)
{
    std::array<char, 16> length{};
    std::snprintf(length.data(), length.size(), "%zx", bytes.size());
    return length.data() + "\r\n"s + bytes + "\r\n";
}

/// Sends until the client has enough, at most a gigabyte.
void sendForever(const LoopbackSocket &socket, const std::string &piece)
{
    for (std::size_t sent = 0; sent < 1'000'000'000 && socket.send(piece); sent += piece.size()) {
    }
}

struct HostileServer
{
    std::string name;
    std::function<void(LoopbackSocket &)> answer;
    std::string error;
};

std::vector<HostileServer> hostileServers()
{
    const auto says = [](const std::string &bytes) {
        return [bytes](LoopbackSocket &socket) { socket.send(bytes); };
    };
    const auto repeats = [](const std::string &start, const std::string &piece) {
        return [start, piece](LoopbackSocket &socket) {
            socket.send(start);
            sendForever(socket, piece);
        };
    };
    std::string welcome;
    wire::append(welcome, wire::WelcomeFrame{1, std::string(64, 'a'), 1800, true});
    const std::string bomb(64 * 1024, '\0');
    return {
        {"hangs_up", says(""), "LOCAL/REQUEST/104"},
        {"speaks_another_protocol", says("220 mail.example ESMTP\r\n"), "LOCAL/REQUEST/131"},
        {"answers_garbage", says("\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03"s), "LOCAL/REQUEST/131"},
        {"shows_a_login_page", says(pageHeader + "Content-Length: 26\r\n\r\n<html><body>Log in</body></"s),
         "LOCAL/REQUEST/131"},
        {"redirects",
         says("HTTP/1.1 302 Found\r\nLocation: http://127.0.0.1:1/\r\nContent-Length: 0\r\n\r\n"),
         "LOCAL/REQUEST/131"},
        {"does_not_know_the_resource", says("HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\n\r\n"),
         "LOCAL/REQUEST/131"},
        {"has_no_room", says("HTTP/1.1 503 Busy\r\nContent-Length: 0\r\n\r\n"), "LOCAL/REQUEST/103"},
        {"refuses_small_bodies", says("HTTP/1.1 413 Too Large\r\nContent-Length: 0\r\n\r\n"),
         "LOCAL/REQUEST/131"},
        {"cuts_a_frame", says(framesHeader + "Content-Length: 9\r\n\r\n"s + welcome.substr(0, 9)),
         "LOCAL/REQUEST/104"},
        {"cuts_the_body", says(framesHeader + "Content-Length: 900\r\n\r\n"s + welcome), "LOCAL/REQUEST/104"},
        {"cuts_the_header", says("HTTP/1.1 200 OK\r\nContent-Ty"), "LOCAL/REQUEST/104"},
        {"lies_about_a_length", says(HttpPeer::answer("W\xff\xff\xff\xff"s)), "LOCAL/REQUEST/131"},
        {"says_it_is_compressed",
         says(framesHeader + "Content-Encoding: gzip\r\nContent-Length: 8\r\n\r\n\x1f\x8b\x08\0\0\0\0\0"s),
         "LOCAL/REQUEST/131"},
        {"has_an_endless_header",
         repeats("HTTP/1.1 200 OK\r\n", "X-Filler: " + std::string(1000, 'x') + "\r\n"), "LOCAL/REQUEST/131"},
        {"has_an_endless_header_line", repeats("HTTP/1.1 200 OK\r\nX: ", std::string(65536, 'x')),
         "LOCAL/REQUEST/131"},
        {"is_always_about_to_answer", repeats("", "HTTP/1.1 100 Continue\r\n\r\n"), "LOCAL/REQUEST/131"},
        {"has_an_endless_body", repeats(chunked(framesHeader), chunk(bomb)), "LOCAL/REQUEST/131"},
        {"has_an_endless_login_page", repeats(chunked(pageHeader), chunk(bomb)), "LOCAL/REQUEST/131"},
        {"welcomes_without_end", repeats(chunked(framesHeader), chunk(welcome)), "LOCAL/REQUEST/131"},
    };
}

class HostileServers : public testing::TestWithParam<HostileServer>
{};

} // namespace

TEST_P(HostileServers, are_an_error_in_bounded_time_and_memory)
{
    const HttpPeer peer([](PeerRequest &request, LoopbackSocket &socket) {
        request.readAll();
        GetParam().answer(socket);
        return false;
    });
    LibraryRequest request(plainConnection(peer.port()));
    const long before = peakKiB();
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(request.command("VR_CMD=|MISC:NOP|"));
    EXPECT_LT(std::chrono::steady_clock::now() - start, Seconds(20));
    EXPECT_LT(peakKiB() - before, memoryLimitKiB(32 * 1024));
    if (GetParam().error != "any") {
        EXPECT_EQ(request.error(), GetParam().error) << request.description();
    }
    EXPECT_NE(request.description(), "");
}

INSTANTIATE_TEST_SUITE_P(Table, HostileServers, testing::ValuesIn(hostileServers()),
                         [](const auto &server) { return server.param.name; });

TEST(SilentServer, is_a_network_error_after_the_time_out)
{
    const ScopedVariable timeout("VRC_STALL_TIMEOUT_MS", "300");
    std::atomic<bool> isOver = false;
    {
        const HttpPeer peer([&](PeerRequest &request, LoopbackSocket &) {
            request.readAll();
            while (!isOver) {
                ::poll(nullptr, 0, 10);
            }
            return false;
        });
        LibraryRequest request(plainConnection(peer.port()));
        EXPECT_FALSE(request.command("VR_CMD=|MISC:NOP|"));
        EXPECT_EQ(request.error(), "LOCAL/REQUEST/104") << request.description();
        isOver = true;
    }
}

TEST(SilentServer, whose_handshake_never_comes_cannot_be_connected)
{
    const LoopbackSocket silent = LoopbackSocket::listener();
    LibraryRequest request("Server=\"127.0.0.1:" + std::to_string(silent.port()) +
                           "\" Ssl=\"YES\" ConnectionTimeOut=\"1\"");
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(request.command("VR_CMD=|MISC:NOP|"));
    EXPECT_LT(std::chrono::steady_clock::now() - start, Seconds(20));
    EXPECT_EQ(request.error(), "LOCAL/REQUEST/103") << request.description();
}

TEST(AnyServer, gets_a_long_body_in_one_post_without_being_asked_for_it_first)
{
    const TemporaryFolder folder;
    std::string header;
    {
        const HttpPeer peer([&header](PeerRequest &request, LoopbackSocket &) {
            header = request.header();
            request.readAll();
            return false;
        });
        LibraryRequest request(plainConnection(peer.port()));
        const std::string path = folder.write("long", std::string(3'000'000, 'x'));
        EXPECT_TRUE(
            request.command("VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|FILE| NAME=|F| FILENAME=|" + path + "|"));
        EXPECT_FALSE(request.command("VR_CMD=|OBJECT:SEND| NAME=|F|"));
    }
    EXPECT_TRUE(header.starts_with("POST /vrc HTTP/1.1\r\n")) << header;
    EXPECT_NE(header.find("\r\nContent-Type: application/vnd.varek.frames\r\n"), std::string::npos) << header;
    EXPECT_NE(header.find("\r\nContent-Length: 300"), std::string::npos) << header;
    EXPECT_EQ(header.find("Expect"), std::string::npos) << header;
}

TEST(MissingServer, cannot_be_connected)
{
    const int port = LoopbackSocket::listener().port(); // closed again
    LibraryRequest refused(plainConnection(port));
    EXPECT_FALSE(refused.command("VR_CMD=|MISC:NOP|"));
    EXPECT_EQ(refused.error(), "LOCAL/REQUEST/103") << refused.description();
    LibraryRequest unknown("Server=\"no-such-host.invalid:1082\" ConnectionTimeOut=\"5\"");
    EXPECT_FALSE(unknown.command("VR_CMD=|MISC:NOP|"));
    EXPECT_EQ(unknown.error(), "LOCAL/REQUEST/103") << unknown.description();
    EXPECT_TRUE(unknown.command("VR_CLOSE_SESSION=|YES|")) << "there is no session to end";
}

TEST(MissingServer, a_library_that_is_given_nonsense_stays_calm)
{
    EXPECT_EQ(VrOpenRequest(nullptr), nullptr);
    EXPECT_EQ(VrOpenRequest("nonsense"), nullptr);
    char buffer[4] = "abc";
    EXPECT_EQ(VrCommand(nullptr, "VR_CMD=|MISC:NOP|", buffer, 4, nullptr), 0);
    EXPECT_STREQ(buffer, "");
    VrCloseRequest(nullptr);
    LibraryRequest request("Server=\"127.0.0.1:1\"");
    EXPECT_FALSE(request.command(""));
    EXPECT_EQ(request.error(), "LOCAL/REQUEST/121");
}
