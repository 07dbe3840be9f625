// SPDX-License-Identifier: MIT
#include "appserver/ClientConnection.h"

#include "appserver/negotiate.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/err.h>
#include <poll.h>
#include <sys/socket.h>
#include <utility>

namespace appserver {

namespace {

constexpr std::size_t headerMaxBytes = 64 * 1024;
constexpr std::size_t answerPieceBytes = 64 * 1024;
/// A request comes in small pieces at first: the end of the handshake, its header, its first frames.
constexpr std::size_t beginningBytes = 16 * 1024;
constexpr std::chrono::milliseconds goodbyeTime{1000};

thread_local ClientConnection *currentConnection = nullptr;

void describe(const sockaddr_storage &address, std::string &ip, int &port)
{
    std::array<char, INET6_ADDRSTRLEN> text{};
    if (address.ss_family == AF_INET) {
        sockaddr_in v4;
        std::memcpy(&v4, &address, sizeof v4);
        ::inet_ntop(AF_INET, &v4.sin_addr, text.data(), text.size());
        port = ntohs(v4.sin_port);
    } else if (address.ss_family == AF_INET6) {
        sockaddr_in6 v6;
        std::memcpy(&v6, &address, sizeof v6);
        ::inet_ntop(AF_INET6, &v6.sin6_addr, text.data(), text.size());
        port = ntohs(v6.sin6_port);
    }
    ip = text.data();
}

template <typename Query>
void describeEnd(int fd, Query query, std::string &ip, int &port)
{
    sockaddr_storage address{};
    socklen_t length = sizeof address;
    void *raw = &address;
    if (query(fd, static_cast<sockaddr *>(raw), &length) == 0) {
        describe(address, ip, port);
    }
}

} // namespace

void ClientConnection::SslReleaser::operator()(SSL *ssl) const
{
    SSL_free(ssl);
}

ClientConnection::ClientConnection(UniqueFd socket, const ConnectionLimits &limits)
    : m_socket(std::move(socket)), m_limits(limits)
{
    const int on = 1;
    ::setsockopt(m_socket.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    describeEnd(m_socket.get(), ::getpeername, m_remoteAddress, m_remotePort);
    describeEnd(m_socket.get(), ::getsockname, m_localAddress, m_localPort);
    currentConnection = this;
}

ClientConnection::~ClientConnection()
{
    currentConnection = nullptr;
}

ClientConnection *ClientConnection::current()
{
    return currentConnection;
}

bool ClientConnection::startTls(SSL_CTX *context)
{
    m_ssl.reset(SSL_new(context));
    if (!m_ssl || SSL_set_fd(m_ssl.get(), m_socket.get()) != 1) {
        return false;
    }
    const auto deadline = Clock::now() + m_limits.headerTime;
    for (;;) {
        ERR_clear_error();
        const int result = SSL_accept(m_ssl.get());
        if (result == 1) {
            return true;
        }
        if (!waitForTls(result, deadline)) {
            return false;
        }
    }
}

bool ClientConnection::awaitRequest()
{
    m_phase = Phase::idle;
    m_bytesIn = m_end - m_begin;
    m_bytesOut = 0;
    if (m_begin == m_end && !fill()) {
        return false;
    }
    m_phase = Phase::header;
    m_headerBytes = 0;
    m_headerDeadline = Clock::now() + m_limits.headerTime;
    return true;
}

void ClientConnection::startBody()
{
    m_phase = Phase::body;
    m_windowStart = Clock::now();
    m_windowBytes = 0;
}

void ClientConnection::abort()
{
    m_aborted = true;
    ::shutdown(m_socket.get(), SHUT_RDWR);
}

void ClientConnection::close()
{
    if (m_ssl && !m_aborted) {
        ERR_clear_error();
        SSL_shutdown(m_ssl.get());
    }
    ::shutdown(m_socket.get(), SHUT_WR);
    // Unread input would make the system reset the connection, and the client lose the answer.
    const auto deadline = Clock::now() + goodbyeTime;
    while (!m_aborted && waitFor(POLLIN, deadline)) {
        if (::recv(m_socket.get(), m_buffer.data(), m_buffer.size(), 0) <= 0) {
            return;
        }
    }
}

bool ClientConnection::is_readable() const
{
    return m_begin != m_end || (m_ssl && SSL_has_pending(m_ssl.get()) == 1) ||
           waitFor(POLLIN, Clock::now() + m_limits.idleTime);
}

bool ClientConnection::is_writable() const
{
    return waitFor(POLLOUT, Clock::now() + m_limits.idleTime);
}

ssize_t ClientConnection::read(char *bytes, size_t size)
{
    if (m_phase == Phase::header && ++m_headerBytes > headerMaxBytes) {
        return -1;
    }
    if (m_begin == m_end && !fill()) {
        return -1;
    }
    const std::size_t count = std::min(size, m_end - m_begin);
    std::copy_n(m_buffer.data() + m_begin, count, bytes);
    m_begin += count;
    return static_cast<ssize_t>(count);
}

ssize_t ClientConnection::write(const char *bytes, size_t size)
{
    m_unsent.append(bytes, size);
    m_bytesOut += size;
    return m_unsent.size() >= answerPieceBytes && !flush() ? -1 : static_cast<ssize_t>(size);
}

bool ClientConnection::flush()
{
    const std::string bytes = std::exchange(m_unsent, {});
    return sendAll(bytes);
}

bool ClientConnection::sendAll(std::string_view bytes)
{
    const auto deadline = Clock::now() + m_limits.idleTime;
    while (!bytes.empty()) {
        const ssize_t count = sendSome(bytes, deadline);
        if (count < 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

/// The number of bytes sent; 0 when it has only waited, -1 when there is no point in going on.
ssize_t ClientConnection::sendSome(std::string_view bytes, Clock::time_point deadline)
{
    if (m_ssl) {
        ERR_clear_error();
        const int piece = static_cast<int>(std::min<std::size_t>(bytes.size(), 1U << 20U));
        const int result = SSL_write(m_ssl.get(), bytes.data(), piece);
        return result > 0 ? result : waitForTls(result, deadline) ? 0 : -1;
    }
    const ssize_t count = ::send(m_socket.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (count >= 0 || errno == EINTR) {
        return std::max<ssize_t>(count, 0);
    }
    return errno == EAGAIN && waitFor(POLLOUT, deadline) ? 0 : -1;
}

void ClientConnection::get_remote_ip_and_port(std::string &ip, int &port) const
{
    ip = m_remoteAddress;
    port = m_remotePort;
}

void ClientConnection::get_local_ip_and_port(std::string &ip, int &port) const
{
    ip = m_localAddress;
    port = m_localPort;
}

bool ClientConnection::waitFor(short events, Clock::time_point deadline) const
{
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
        if (left <= 0 || m_aborted) {
            return false;
        }
        pollfd entry{m_socket.get(), events, 0};
        const int ready = ::poll(&entry, 1, static_cast<int>(std::min<long long>(left, 60'000)));
        if (ready > 0) {
            return !m_aborted;
        }
        if (ready < 0 && errno != EINTR) {
            return false;
        }
    }
}

ClientConnection::Clock::time_point ClientConnection::readDeadline() const
{
    if (m_phase == Phase::header) {
        return m_headerDeadline;
    }
    return Clock::now() + m_limits.idleTime;
}

void ClientConnection::acknowledge() const
{
    const int on = 1;
    ::setsockopt(m_socket.get(), IPPROTO_TCP, TCP_QUICKACK, &on, sizeof on);
}

bool ClientConnection::fill()
{
    // Who waits for a word (100 Continue) says nothing before.
    if (!m_unsent.empty() && !flush()) {
        return false;
    }
    if (m_phase == Phase::body && isTooSlow()) {
        return false;
    }
    if (m_bytesIn < beginningBytes) {
        acknowledge();
    }
    const ssize_t count = readSome(m_buffer.data(), m_buffer.size(), readDeadline());
    if (count <= 0) {
        return false;
    }
    m_begin = 0;
    m_end = static_cast<std::size_t>(count);
    m_bytesIn += m_end;
    m_windowBytes += m_end;
    return true;
}

ssize_t ClientConnection::readSome(char *bytes, std::size_t size, Clock::time_point deadline)
{
    if (m_ssl) {
        return readTls(bytes, size, deadline);
    }
    for (;;) {
        const ssize_t count = ::recv(m_socket.get(), bytes, size, 0);
        if (count >= 0 || (errno != EAGAIN && errno != EINTR)) {
            return count;
        }
        if (!waitFor(POLLIN, deadline)) {
            return -1;
        }
    }
}

ssize_t ClientConnection::readTls(char *bytes, std::size_t size, Clock::time_point deadline)
{
    for (;;) {
        ERR_clear_error();
        const int count = SSL_read(m_ssl.get(), bytes, static_cast<int>(size));
        if (count > 0) {
            return count;
        }
        if (!waitForTls(count, deadline)) {
            return -1;
        }
    }
}

bool ClientConnection::waitForTls(int result, Clock::time_point deadline) const
{
    switch (SSL_get_error(m_ssl.get(), result)) {
    case SSL_ERROR_WANT_READ:
        return waitFor(POLLIN, deadline);
    case SSL_ERROR_WANT_WRITE:
        return waitFor(POLLOUT, deadline);
    default:
        return false;
    }
}

bool ClientConnection::isTooSlow()
{
    const auto now = Clock::now();
    if (now - m_windowStart < m_limits.bodyRateWindow) {
        return false;
    }
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(now - m_windowStart).count();
    const bool slow = m_windowBytes < m_limits.bodyBytesPerSecond * static_cast<std::uint64_t>(seconds);
    m_windowStart = now;
    m_windowBytes = 0;
    return slow;
}

} // namespace appserver
