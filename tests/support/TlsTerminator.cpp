// SPDX-License-Identifier: MIT
#include "tests/support/TlsTerminator.h"

#include <poll.h>

#include <stdexcept>

TlsTerminator::TlsTerminator(const Identity &identity, int targetPort)
    : m_context(SSL_CTX_new(TLS_server_method())), m_targetPort(targetPort),
      m_listener(LoopbackSocket::listener()), m_port(m_listener.port())
{
    SSL_CTX *context = m_context.get();
    SSL_CTX_set_security_level(context, 0);
    if (SSL_CTX_set_min_proto_version(context, TLS1_VERSION) != 1 ||
        SSL_CTX_set_max_proto_version(context, identity.highestVersion) != 1 ||
        SSL_CTX_use_certificate_chain_file(context, identity.chain.c_str()) != 1 ||
        SSL_CTX_use_PrivateKey_file(context, identity.key.c_str(), SSL_FILETYPE_PEM) != 1) {
        throw std::runtime_error("TLS cannot be set up for " + identity.chain.string());
    }
    m_acceptor = std::thread([this] { acceptAll(); });
}

TlsTerminator::~TlsTerminator()
{
    m_listener.shutDown();
    m_acceptor.join();
    for (Connection &connection : m_connections) {
        connection.client.shutDown();
        connection.thread.join();
    }
}

void TlsTerminator::acceptAll()
{
    for (LoopbackSocket client = m_listener.accept(); client.isOpen(); client = m_listener.accept()) {
        const std::lock_guard lock(m_mutex);
        Connection &connection = m_connections.emplace_back();
        connection.client = std::move(client);
        connection.thread = std::thread([this, &connection] { serve(connection.client); });
    }
}

void TlsTerminator::serve(const LoopbackSocket &client)
{
    const std::unique_ptr<SSL, FreeTls> tls(SSL_new(m_context.get()));
    SSL_set_fd(tls.get(), client.descriptor());
    const LoopbackSocket target = LoopbackSocket::connection(m_targetPort);
    for (bool isAlive = SSL_accept(tls.get()) == 1 && target.isOpen(); isAlive;) {
        pollfd entries[] = {{client.descriptor(), POLLIN, 0}, {target.descriptor(), POLLIN, 0}};
        const bool isPending = SSL_pending(tls.get()) > 0;
        ::poll(entries, 2, isPending ? 0 : -1);
        if (entries[0].revents != 0 || isPending) {
            isAlive = passToTarget(tls.get(), target);
        }
        if (isAlive && entries[1].revents != 0) {
            const std::string bytes = target.receive();
            isAlive =
                !bytes.empty() && SSL_write(tls.get(), bytes.data(), static_cast<int>(bytes.size())) > 0;
        }
    }
    client.shutDown(); // without a close_notify
}

bool TlsTerminator::passToTarget(SSL *tls, const LoopbackSocket &target)
{
    char bytes[16384];
    const int count = SSL_read(tls, bytes, sizeof bytes);
    if (count <= 0) {
        return false;
    }
    m_received += static_cast<std::size_t>(count);
    return target.send({bytes, static_cast<std::size_t>(count)});
}
