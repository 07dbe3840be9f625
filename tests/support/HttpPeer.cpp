// SPDX-License-Identifier: MIT
#include "tests/support/HttpPeer.h"

#include <algorithm>
#include <cstdlib>

bool PeerRequest::readHeader()
{
    std::size_t end = std::string::npos;
    while ((end = m_buffer.find("\r\n\r\n")) == std::string::npos) {
        if (!fill()) {
            return false;
        }
    }
    m_header = m_buffer.substr(0, end + 4);
    m_buffer.erase(0, end + 4);
    m_isChunked = m_header.find("Transfer-Encoding: chunked") != std::string::npos;
    const std::size_t length = m_header.find("Content-Length: ");
    if (length != std::string::npos) {
        m_missing = std::strtoul(m_header.c_str() + length + 16, nullptr, 10);
    }
    m_isOver = !m_isChunked && m_missing == 0;
    return true;
}

std::string PeerRequest::readBody()
{
    if (m_isChunked && m_missing == 0 && !m_isOver) {
        m_missing = std::strtoul(takeLine().c_str(), nullptr, 16);
        m_isOver = m_missing == 0;
        if (m_isOver) {
            takeLine();
        }
    }
    if (m_isOver) {
        return {};
    }
    std::string piece = take(m_missing);
    m_missing -= piece.size();
    if (m_isChunked && m_missing == 0) {
        takeLine();
    }
    m_isOver = piece.empty() || (!m_isChunked && m_missing == 0);
    return piece;
}

std::string PeerRequest::readAll()
{
    std::string body;
    for (std::string piece = readBody(); !piece.empty(); piece = readBody()) {
        body += piece;
    }
    return body;
}

bool PeerRequest::fill()
{
    const std::string bytes = m_socket.receive();
    m_buffer += bytes;
    return !bytes.empty();
}

std::string PeerRequest::takeLine()
{
    std::size_t end = std::string::npos;
    while ((end = m_buffer.find("\r\n")) == std::string::npos) {
        if (!fill()) {
            return {};
        }
    }
    std::string line = m_buffer.substr(0, end);
    m_buffer.erase(0, end + 2);
    return line;
}

std::string PeerRequest::take(std::size_t atMost)
{
    if (m_buffer.empty() && !fill()) {
        return {};
    }
    std::string bytes = m_buffer.substr(0, atMost);
    m_buffer.erase(0, bytes.size());
    return bytes;
}

HttpPeer::HttpPeer(Handler handler)
    : m_handler(std::move(handler)), m_listener(LoopbackSocket::listener()), m_port(m_listener.port()),
      m_thread([this] { serve(); })
{}

HttpPeer::~HttpPeer()
{
    m_isEnding = true;
    m_listener.shutDown();
    if (m_current >= 0) {
        ::shutdown(m_current, SHUT_RDWR);
    }
    m_thread.join();
}

void HttpPeer::serve()
{
    while (!m_isEnding) {
        LoopbackSocket socket = m_listener.accept();
        if (!socket.isOpen()) {
            return;
        }
        ++m_connections;
        m_current = socket.descriptor();
        for (bool isKept = true; isKept && !m_isEnding;) {
            PeerRequest request(socket);
            isKept = request.readHeader() && m_handler(request, socket);
        }
        m_current = -1;
    }
}

std::string HttpPeer::answer(std::string_view frames)
{
    return "HTTP/1.1 200 OK\r\nContent-Type: application/vnd.varek.frames\r\nContent-Length: " +
           std::to_string(frames.size()) + "\r\n\r\n" + std::string(frames);
}

std::string HttpPeer::askServer(int port, std::string_view body)
{
    const LoopbackSocket server = LoopbackSocket::connection(port);
    server.send("POST /vrc HTTP/1.1\r\nHost: x\r\nConnection: close\r\nContent-Type: "
                "application/vnd.varek.frames\r\nContent-Length: " +
                std::to_string(body.size()) + "\r\n\r\n");
    server.send(body);
    PeerRequest answer(server); // an answer is read like a request
    return answer.readHeader() ? answer.readAll() : std::string();
}
