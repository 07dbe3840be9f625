// SPDX-License-Identifier: MIT
#include "tests/support/HttpPeer.h"
#include "tests/support/LibraryUpload.h"
#include "tests/support/SharedServerTest.h"
#include "tests/support/frame_text.h"

#include <gtest/gtest.h>

namespace {

class QueuedCommands : public SharedServerTest
{
protected:
    /// What the server answers to a request of another client.
    static AnswerText ask(const RequestText &request)
    {
        const LoopbackSocket socket = LoopbackSocket::connection(s_server->plainPort());
        socket.send("POST /vrc HTTP/1.1\r\nHost: x\r\nConnection: close\r\nContent-Type: "
                    "application/vnd.varek.frames\r\nContent-Length: " +
                    std::to_string(request.text.size()) + "\r\n\r\n" + request.text);
        const std::string answer = socket.receiveAll();
        return decodeAnswer(std::string_view(answer).substr(answer.find("\r\n\r\n") + 4));
    }

    TemporaryFolder m_folder;
};

} // namespace

/// Login, the size that ends each of two queues, the procedure, the close.
TEST_F(QueuedCommands, an_upload_waits_five_times)
{
    const std::string log = (m_folder.path() / "log").string();
    LibraryUpload print(plainConnection(s_server->plainPort(), " SocketLog=\"" + log + "\""),
                        s_server->login(), m_folder.write("document", incompressibleText(300'000)));
    EXPECT_TRUE(print.run()) << print.description() << print.failedCommand();
    std::ifstream lines(log);
    std::size_t answers = 0;
    for (std::string line; std::getline(lines, line);) {
        answers += line.find(" answer success") != std::string::npos ? 1U : 0U;
    }
    EXPECT_EQ(answers, 5U);
}

TEST_F(QueuedCommands, are_carried_out_when_the_request_is_closed_behind_them)
{
    std::string session;
    {
        LibraryRequest request(plainConnection(s_server->plainPort()));
        ASSERT_TRUE(request.command("VR_CMD=|MISC:NOP| " + s_server->login()));
        ASSERT_TRUE(request.command("VR_CMD=|LOCAL:REQUEST:GET_SESSION_ID|"));
        session = request.result();
        ASSERT_TRUE(request.command("VR_CMD=|OBJECT:CREATE| TYPE=|INTEGER| NAME=|LAST|"));
        ASSERT_TRUE(request.command("VR_CMD=|OBJECT:INTEGER_SET_VALUE| NAME=|LAST| VALUE=|42|"));
    }
    const AnswerText answer =
        ask(RequestText().session(session).command(4, "VR_CMD=|OBJECT:GET| NAME=|LAST|"));
    EXPECT_EQ(answer.data, "42");
    ask(RequestText().session(session).end());
}
