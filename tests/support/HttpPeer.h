// SPDX-License-Identifier: MIT
#pragma once

#include "tests/support/LoopbackSocket.h"

#include <atomic>
#include <functional>
#include <string>
#include <string_view>
#include <thread>

/// A request as a peer reads it: the header at once, the body in pieces.
class PeerRequest
{
public:
    explicit PeerRequest(const LoopbackSocket &socket) : m_socket(socket) {}

    /// False when the connection ended before a whole header.
    bool readHeader();

    [[nodiscard]] const std::string &header() const { return m_header; }

    [[nodiscard]] bool isPost() const { return m_header.starts_with("POST "); }

    [[nodiscard]] bool isChunked() const { return m_isChunked; }

    /// A piece of the body; empty at its end, or when the connection was lost.
    std::string readBody();

    /// The whole rest of the body.
    std::string readAll();

private:
    bool fill();
    std::string takeLine();
    std::string take(std::size_t atMost);

    const LoopbackSocket &m_socket;
    std::string m_buffer;
    std::string m_header;
    std::size_t m_missing = 0; ///< of the body, or of the chunk
    bool m_isChunked = false;
    bool m_isOver = false;
};

/// A server for tests: one connection at a time, each request handed to a function that answers on the socket
/// and says whether the connection is kept.
class HttpPeer
{
public:
    using Handler = std::function<bool(PeerRequest &request, LoopbackSocket &socket)>;

    explicit HttpPeer(Handler handler);
    ~HttpPeer();
    HttpPeer(const HttpPeer &) = delete;
    HttpPeer &operator=(const HttpPeer &) = delete;

    [[nodiscard]] int port() const { return m_port; }

    [[nodiscard]] int connections() const { return m_connections; }

    /// A whole answer with status 200 and the media type of frames.
    static std::string answer(std::string_view frames);

    /// Has the server behind this peer, without TLS, answer a body of frames; its frames, empty when there is
    /// no answer.
    static std::string askServer(int port, std::string_view body);

private:
    void serve();

    Handler m_handler;
    LoopbackSocket m_listener;
    int m_port = 0;
    std::atomic<bool> m_isEnding = false;
    std::atomic<int> m_connections = 0;
    std::atomic<int> m_current = -1;
    std::thread m_thread;
};
