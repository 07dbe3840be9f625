// SPDX-License-Identifier: MIT
#include "appserver/ClientSocket.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/err.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

namespace appserver {

ClientSocket::ClientSocket(UniqueFd socket) : m_socket(std::move(socket))
{
    const int on = 1;
    ::setsockopt(m_socket.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

bool ClientSocket::startTls(SSL_CTX *context, Clock::time_point deadline)
{
    m_ssl.reset(SSL_new(context));
    if (!m_ssl || SSL_set_fd(m_ssl.get(), m_socket.get()) != 1) {
        return false;
    }
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

bool ClientSocket::awaitInput(Clock::time_point deadline) const
{
    return (m_ssl && SSL_has_pending(m_ssl.get()) == 1) || waitFor(POLLIN, deadline);
}

bool ClientSocket::awaitRoom(Clock::time_point deadline) const
{
    return waitFor(POLLOUT, deadline);
}

ssize_t ClientSocket::receive(char *bytes, std::size_t size, Clock::time_point deadline)
{
    if (m_ssl) {
        return receiveTls(bytes, size, deadline);
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

ssize_t ClientSocket::receiveTls(char *bytes, std::size_t size, Clock::time_point deadline)
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

bool ClientSocket::sendAll(std::string_view bytes, Clock::time_point deadline)
{
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
ssize_t ClientSocket::sendSome(std::string_view bytes, Clock::time_point deadline)
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

void ClientSocket::acknowledge() const
{
    const int on = 1;
    ::setsockopt(m_socket.get(), IPPROTO_TCP, TCP_QUICKACK, &on, sizeof on);
}

void ClientSocket::close(Clock::time_point deadline)
{
    if (m_ssl && !m_aborted) {
        ERR_clear_error();
        SSL_shutdown(m_ssl.get());
    }
    ::shutdown(m_socket.get(), SHUT_WR);
    // Unread input would make the system reset the connection, and the client lose the answer.
    std::array<char, 16384> unread;
    while (!m_aborted && waitFor(POLLIN, deadline)) {
        if (::recv(m_socket.get(), unread.data(), unread.size(), 0) <= 0) {
            return;
        }
    }
}

void ClientSocket::abort()
{
    m_aborted = true;
    ::shutdown(m_socket.get(), SHUT_RDWR);
}

bool ClientSocket::waitFor(short events, Clock::time_point deadline) const
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

bool ClientSocket::waitForTls(int result, Clock::time_point deadline) const
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

} // namespace appserver
