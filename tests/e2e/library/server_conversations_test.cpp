// SPDX-License-Identifier: MIT
#include "tests/support/Conversation.h"
#include "tests/support/LoopbackSocket.h"
#include "tests/support/ServerProcess.h"
#include "wire/FrameReader.h"

#include <gtest/gtest.h>

namespace {

using conversation::Exchange;
using conversation::Line;
using conversation::Script;
using conversation::Variables;

std::vector<Script> serverScripts()
{
    std::vector<Script> scripts = conversation::readAll(VAREK_SOURCE_DIR "/tests/data/conversations");
    std::erase_if(scripts, [](const Script &script) { return !script.isForServers(); });
    return scripts;
}

/// Sends a request on a connection of its own.
std::string exchanged(int port, const std::string &body, bool isLost)
{
    const LoopbackSocket socket = LoopbackSocket::connection(port);
    socket.send("POST /vrc HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n"
                "Content-Type: application/vnd.varek.frames\r\nContent-Length: " +
                std::to_string(body.size()) + "\r\n\r\n" + body);
    const std::string answer = socket.receiveAll();
    // What is lost on the way was answered all the same: nobody looks at it.
    const std::size_t header = answer.find("\r\n\r\n");
    return isLost || header == std::string::npos ? std::string() : answer.substr(header + 4);
}

void compare(const Exchange &exchange, const std::string &answer, Variables &variables)
{
    wire::FrameReader reader(wire::Direction::answer);
    std::string_view piece = answer;
    for (const Line &line : exchange.answer) {
        ASSERT_EQ(reader.take(piece), wire::FrameReader::Status::frame)
            << "line " << line.number << " is missing";
        EXPECT_EQ(conversation::difference(line, reader.type(), reader.payload(), variables), "");
    }
    EXPECT_EQ(piece, "") << "more than line " << exchange.answer.back().number;
}

} // namespace

class ServerConversation : public testing::TestWithParam<Script>
{};

TEST_P(ServerConversation, is_held_word_for_word)
{
    const ServerProcess server;
    Variables variables = {{"APPLICATION", "upload"},
                           {"USER", server.user()},
                           {"PASSWORD", server.password()},
                           {"NONCE", "000102030405060708090a0b0c0d0e0f"}};
    for (const Exchange &exchange : conversation::exchangesOf(GetParam())) {
        std::string body;
        for (const Line &line : exchange.request) {
            body += conversation::encoded(line, variables);
        }
        const std::string answer = exchanged(server.plainPort(), body, exchange.isLost);
        if (!exchange.isLost) {
            compare(exchange, answer, variables);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Golden, ServerConversation, testing::ValuesIn(serverScripts()),
                         [](const auto &script) { return script.param.name; });
