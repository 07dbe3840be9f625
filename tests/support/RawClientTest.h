// SPDX-License-Identifier: MIT
#pragma once

#include "tests/support/FrameClient.h"
#include "tests/support/LoopbackSocket.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

/// A server of its own for each test, and clients that write what they like on a plain connection.
class RawClientTest : public ::testing::Test
{
protected:
    /// A request with frames up to its length and the end of its header.
    const std::string m_postHead =
        "POST /vrc HTTP/1.1\r\nHost: x\r\nContent-Type: application/vnd.varek.frames\r\n";

    [[nodiscard]] LoopbackSocket connect() const { return LoopbackSocket::connection(m_server.plainPort()); }

    /// Everything that the server says until it closes.
    [[nodiscard]] std::string ask(const std::string &request) const
    {
        const LoopbackSocket socket = connect();
        socket.send(request);
        return socket.receiveAll();
    }

    /// The server still works for everybody else.
    void expectAlive()
    {
        FrameClient client(m_server);
        EXPECT_THAT(client.ask(RequestText().hello("directory", ++m_nonce)).lines,
                    ::testing::ElementsAre("W", "Z 0"));
    }

    /// An upload session of the demo user: its identifier.
    std::string openUpload(FrameClient &client)
    {
        return client
            .ask(RequestText()
                     .hello("upload", ++m_nonce)
                     .command(1, loginLine(m_server.user(), m_server.password())))
            .session;
    }

    ServerProcess m_server;
    std::uint8_t m_nonce = 0;
};
