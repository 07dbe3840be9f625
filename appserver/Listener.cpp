// SPDX-License-Identifier: MIT
#include "appserver/Listener.h"

#include "appserver/HttpSite.h"
#include "appserver/TlsSettings.h"
#include "appserver/server_log.h"
#include "appserver/socket_address.h"

#include <netdb.h>
#include <openssl/crypto.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <memory>
#include <stdexcept>
#include <system_error>

namespace appserver {

namespace {

constexpr int backlog = 512;
/// Connections beyond the limit that are told so; more are closed without a word.
constexpr std::size_t overloadPlaces = 32;

struct AddressReleaser
{
    void operator()(addrinfo *list) const { ::freeaddrinfo(list); }
};

using AddressPtr = std::unique_ptr<addrinfo, AddressReleaser>;

AddressPtr resolve(const std::string &address, int port)
{
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_PASSIVE | AI_NUMERICSERV;
    addrinfo *list = nullptr;
    const int error = ::getaddrinfo(address.c_str(), std::to_string(port).c_str(), &hints, &list);
    if (error != 0) {
        throw std::runtime_error("cannot listen on " + address + ": " + ::gai_strerror(error));
    }
    return AddressPtr(list);
}

UniqueFd bindTo(const addrinfo &address)
{
    UniqueFd socket(::socket(address.ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const int on = 1;
    ::setsockopt(socket.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    if (!socket || ::bind(socket.get(), address.ai_addr, address.ai_addrlen) != 0 ||
        ::listen(socket.get(), backlog) != 0) {
        return {};
    }
    return socket;
}

/// A connection in the set, for as long as this lives.
class Membership
{
public:
    Membership(ConnectionSet &connections, ClientConnection &connection)
        : m_connections(connections), m_connection(connection)
    {
        m_connections.add(&m_connection);
    }

    ~Membership() { m_connections.remove(&m_connection); }

    Membership(const Membership &) = delete;
    Membership &operator=(const Membership &) = delete;

private:
    ConnectionSet &m_connections;
    ClientConnection &m_connection;
};

} // namespace

std::size_t ConnectionSet::enter()
{
    const std::scoped_lock lock(m_mutex);
    return ++m_threads;
}

void ConnectionSet::leave()
{
    const std::scoped_lock lock(m_mutex);
    --m_threads;
    m_changed.notify_all();
}

void ConnectionSet::add(ClientConnection *connection)
{
    const std::scoped_lock lock(m_mutex);
    m_connections.insert(connection);
}

void ConnectionSet::remove(ClientConnection *connection)
{
    const std::scoped_lock lock(m_mutex);
    m_connections.erase(connection);
}

void ConnectionSet::closeAll(std::chrono::milliseconds patience)
{
    std::unique_lock lock(m_mutex);
    m_closing = true;
    for (ClientConnection *connection : m_connections) {
        if (connection->isIdle()) {
            connection->abort();
        }
    }
    const auto empty = [this] { return m_threads == 0; };
    m_changed.wait_for(lock, patience, empty);
    while (!empty()) {
        for (ClientConnection *connection : m_connections) {
            connection->abort();
        }
        m_changed.wait_for(lock, std::chrono::milliseconds(100), empty);
    }
}

Listener::Listener(const std::string &address, int port, HttpSite &site, const TlsSettings *tls,
                   ConnectionSet &connections, std::function<ConnectionRules()> rules)
    : m_wake(::eventfd(0, EFD_CLOEXEC)), m_site(site), m_tls(tls), m_connections(connections),
      m_rules(std::move(rules))
{
    m_socket = bindTo(*resolve(address, port));
    if (!m_socket || !m_wake) {
        throwSystemError("cannot listen on " + address + " port " + std::to_string(port));
    }
    m_port = localAddressOf(m_socket.get()).port;
}

Listener::~Listener()
{
    stop();
}

void Listener::start()
{
    m_thread = std::thread([this] { acceptConnections(); });
}

void Listener::stop()
{
    const std::uint64_t one = 1;
    if (m_thread.joinable() && ::write(m_wake.get(), &one, sizeof one) == sizeof one) {
        m_thread.join();
    }
}

void Listener::acceptConnections()
{
    std::array<pollfd, 2> entries{pollfd{m_socket.get(), POLLIN, 0}, pollfd{m_wake.get(), POLLIN, 0}};
    for (;;) {
        if (::poll(entries.data(), entries.size(), -1) < 0 && errno != EINTR) {
            logLine("poll failed, no further connection is accepted");
            return;
        }
        if (entries[1].revents != 0) {
            return;
        }
        UniqueFd socket(::accept4(m_socket.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
        if (socket) {
            startThread(std::move(socket));
        } else if (errno == EMFILE || errno == ENFILE || errno == ENOMEM || errno == ENOBUFS) {
            logLine("cannot accept a connection: " + std::generic_category().message(errno));
            ::poll(&entries[1], 1, 100); // until a connection has ended
        }
    }
}

void Listener::startThread(UniqueFd socket)
{
    const ConnectionRules rules = m_rules();
    const std::size_t count = m_connections.enter();
    if (count > rules.maxConnections + overloadPlaces) {
        return m_connections.leave();
    }
    const bool overload = count > rules.maxConnections;
    try {
        std::thread([this, rules, overload, held = std::make_shared<UniqueFd>(std::move(socket))] {
            serve(std::move(*held), rules, overload);
            OPENSSL_thread_stop(); // once the last thread has left, the process may end
            m_connections.leave();
        }).detach();
    } catch (const std::exception &trouble) {
        logFailure("cannot start a thread", trouble);
        m_connections.leave();
    }
}

void Listener::serve(UniqueFd socket, const ConnectionRules &rules, bool overload) const
{
    try {
        ClientConnection connection(std::move(socket), rules.limits);
        const Membership membership(m_connections, connection);
        const auto context = m_tls != nullptr ? m_tls->context() : nullptr;
        if (!context || connection.startTls(context.get())) {
            if (overload) {
                m_site.serveOverload(connection);
            } else {
                serveRequests(connection);
            }
            connection.close();
        }
    } catch (const std::exception &trouble) {
        logFailure("connection failed", trouble);
    }
}

void Listener::serveRequests(ClientConnection &connection) const
{
    std::size_t left = HttpSite::requestsPerConnection;
    while (left > 0 && !m_connections.isClosing() && connection.awaitRequest() &&
           m_site.serve(connection, left == 1)) {
        --left;
    }
}

} // namespace appserver
