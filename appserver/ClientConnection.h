// SPDX-License-Identifier: MIT
#pragma once

#include "appserver/ClientSocket.h"
#include "appserver/socket_address.h"

#include <httplib.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

namespace appserver {

class Negotiation;

/// How long a client may take, and how slow it may be.
struct ConnectionLimits
{
    std::chrono::seconds headerTime{20};
    std::chrono::seconds idleTime{60}; ///< between two requests, and without a byte within one
    std::chrono::seconds bodyRateWindow{30};
    std::uint64_t bodyBytesPerSecond = 128;
};

/// One accepted connection as the HTTP library's stream, with the rules for slow clients. Used by one thread,
/// except abort().
class ClientConnection : public httplib::Stream
{
public:
    ClientConnection(UniqueFd socket, const ConnectionLimits &limits);
    ~ClientConnection() override;
    ClientConnection(const ClientConnection &) = delete;
    ClientConnection &operator=(const ClientConnection &) = delete;

    /// The connection whose request this thread is serving; null outside of one.
    [[nodiscard]] static ClientConnection *current();

    /// False when the handshake fails or takes too long.
    [[nodiscard]] bool startTls(SSL_CTX *context);
    /// Waits for the first byte of a request; false when none comes.
    [[nodiscard]] bool awaitRequest();
    /// The header has arrived: from now on the rules of a body are in force.
    void startBody();

    [[nodiscard]] bool isInHeader() const { return m_phase == Phase::header; }

    /// No further request is read from this connection.
    void closeAfterAnswer() { m_closes = true; }

    [[nodiscard]] bool closes() const { return m_closes; }

    /// Wakes the thread that reads from this connection, which then ends it. Callable from every thread.
    void abort();
    /// Sends what was written so far. An answer goes out in one piece, where it is not long: what comes in
    /// two waits on its way for the first to be acknowledged (Nagle's algorithm of a proxy).
    [[nodiscard]] bool flush();
    /// Says goodbye in a way that lets the client read the answer first.
    void close();

    /// Of single sign-on, the last one on this connection; may be null.
    [[nodiscard]] std::unique_ptr<Negotiation> &negotiation() { return m_negotiation; }

    [[nodiscard]] const Negotiation *negotiation() const { return m_negotiation.get(); }

    [[nodiscard]] const std::string &remoteAddress() const { return m_remote.ip; }

    /// No request is under way. Callable from every thread.
    [[nodiscard]] bool isIdle() const { return m_phase == Phase::idle; }

    [[nodiscard]] bool isTls() const { return m_socket.isTls(); }

    [[nodiscard]] std::uint64_t bytesIn() const { return m_bytesIn; }

    [[nodiscard]] std::uint64_t bytesOut() const { return m_bytesOut; }

    bool is_readable() const override;
    bool is_writable() const override;
    ssize_t read(char *bytes, size_t size) override;
    ssize_t write(const char *bytes, size_t size) override;
    void get_remote_ip_and_port(std::string &ip, int &port) const override;
    void get_local_ip_and_port(std::string &ip, int &port) const override;

    socket_t socket() const override { return m_socket.descriptor(); }

private:
    using Clock = ClientSocket::Clock;
    enum class Phase
    {
        idle,
        header,
        body
    };

    [[nodiscard]] Clock::time_point readDeadline() const;
    [[nodiscard]] bool fill();
    [[nodiscard]] bool isTooSlow();

    std::unique_ptr<Negotiation> m_negotiation;
    ClientSocket m_socket;
    ConnectionLimits m_limits;
    std::array<char, 16384> m_buffer;
    std::size_t m_begin = 0; ///< of the unread bytes in m_buffer
    std::size_t m_end = 0;
    std::atomic<Phase> m_phase{Phase::idle};
    Clock::time_point m_headerDeadline;
    std::size_t m_headerBytes = 0;
    Clock::time_point m_windowStart;
    std::uint64_t m_windowBytes = 0;
    std::string m_unsent;
    std::uint64_t m_bytesIn = 0;
    std::uint64_t m_bytesOut = 0;
    SocketAddress m_remote;
    SocketAddress m_local;
    bool m_closes = false;
};

} // namespace appserver
