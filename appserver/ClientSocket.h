// SPDX-License-Identifier: MIT
#pragma once

#include "appserver/server_files.h"

#include <openssl/ssl.h>
#include <sys/types.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <memory>
#include <string_view>

namespace appserver {

/// An accepted connection, plain or TLS, that takes and gives bytes until a deadline. Used by one thread,
/// except abort().
class ClientSocket
{
public:
    using Clock = std::chrono::steady_clock;

    /// The socket must not block.
    explicit ClientSocket(UniqueFd socket);

    /// False when the handshake fails or takes too long.
    [[nodiscard]] bool startTls(SSL_CTX *context, Clock::time_point deadline);

    [[nodiscard]] bool isTls() const { return m_ssl != nullptr; }

    [[nodiscard]] int descriptor() const { return m_socket.get(); }

    /// True when something can be received, or sent, before the deadline.
    [[nodiscard]] bool awaitInput(Clock::time_point deadline) const;
    [[nodiscard]] bool awaitRoom(Clock::time_point deadline) const;

    /// The number of bytes that have come, at least one of which is waited for; 0 or less when none comes any
    /// more, or in time.
    [[nodiscard]] ssize_t receive(char *bytes, std::size_t size, Clock::time_point deadline);

    /// False when not everything could be sent in time.
    [[nodiscard]] bool sendAll(std::string_view bytes, Clock::time_point deadline);

    /// Tells the client at once what has arrived: a proxy that collects small packets (Nagle's algorithm)
    /// keeps the next piece back until then, and the system would wait 40 ms for something to send along.
    void acknowledge() const;

    /// Says goodbye in a way that lets the client read the answer first.
    void close(Clock::time_point deadline);

    /// Wakes the thread that waits here, and lets it wait no more. Callable from every thread.
    void abort();

private:
    struct SslReleaser
    {
        void operator()(SSL *ssl) const { SSL_free(ssl); }
    };

    [[nodiscard]] bool waitFor(short events, Clock::time_point deadline) const;
    [[nodiscard]] bool waitForTls(int result, Clock::time_point deadline) const;
    [[nodiscard]] ssize_t receiveTls(char *bytes, std::size_t size, Clock::time_point deadline);
    [[nodiscard]] ssize_t sendSome(std::string_view bytes, Clock::time_point deadline);

    UniqueFd m_socket;
    std::unique_ptr<SSL, SslReleaser> m_ssl;
    std::atomic<bool> m_aborted{false};
};

} // namespace appserver
