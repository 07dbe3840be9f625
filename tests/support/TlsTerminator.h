// SPDX-License-Identifier: MIT
#pragma once

#include "tests/support/LoopbackSocket.h"

#include <openssl/ssl.h>

#include <atomic>
#include <filesystem>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

/// Takes TLS on a port of the loopback interface and hands what is in it to another port, both ways. When
/// that side ends it closes the connection without saying so in TLS.
class TlsTerminator
{
public:
    struct Identity
    {
        std::filesystem::path chain; ///< PEM: the certificate, and those above it that are sent along
        std::filesystem::path key;
        int highestVersion = TLS1_3_VERSION; ///< takes any version up to this one, and any key
    };

    TlsTerminator(const Identity &identity, int targetPort);
    ~TlsTerminator();
    TlsTerminator(const TlsTerminator &) = delete;
    TlsTerminator &operator=(const TlsTerminator &) = delete;

    [[nodiscard]] int port() const { return m_port; }

    /// Bytes that clients have sent within TLS.
    [[nodiscard]] std::size_t receivedBytes() const { return m_received; }

private:
    struct FreeContext
    {
        void operator()(SSL_CTX *context) const { SSL_CTX_free(context); }
    };

    struct FreeTls
    {
        void operator()(SSL *tls) const { SSL_free(tls); }
    };

    struct Connection
    {
        LoopbackSocket client;
        std::thread thread;
    };

    void acceptAll();
    void serve(const LoopbackSocket &client);
    bool passToTarget(SSL *tls, const LoopbackSocket &target);

    std::unique_ptr<SSL_CTX, FreeContext> m_context;
    int m_targetPort;
    LoopbackSocket m_listener;
    int m_port = 0;
    std::atomic<std::size_t> m_received = 0;
    std::mutex m_mutex;
    std::list<Connection> m_connections;
    std::thread m_acceptor;
};
