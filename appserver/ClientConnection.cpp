// SPDX-License-Identifier: MIT
#include "appserver/ClientConnection.h"

#include "appserver/negotiate.h"

#include <algorithm>
#include <utility>

namespace appserver {

namespace {

constexpr std::size_t headerMaxBytes = 64 * 1024;
constexpr std::size_t answerPieceBytes = 64 * 1024;
/// A request comes in small pieces at first: the end of the handshake, its header, its first frames.
constexpr std::size_t beginningBytes = 16 * 1024;
constexpr std::chrono::milliseconds goodbyeTime{1000};

thread_local ClientConnection *currentConnection = nullptr;

} // namespace

ClientConnection::ClientConnection(UniqueFd socket, const ConnectionLimits &limits)
    : m_socket(std::move(socket)), m_limits(limits), m_remote(remoteAddressOf(m_socket.descriptor())),
      m_local(localAddressOf(m_socket.descriptor()))
{
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
    return m_socket.startTls(context, Clock::now() + m_limits.headerTime);
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
    m_socket.abort();
}

void ClientConnection::close()
{
    m_socket.close(Clock::now() + goodbyeTime);
}

bool ClientConnection::is_readable() const
{
    return m_begin != m_end || m_socket.awaitInput(Clock::now() + m_limits.idleTime);
}

bool ClientConnection::is_writable() const
{
    return m_socket.awaitRoom(Clock::now() + m_limits.idleTime);
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
    return m_socket.sendAll(bytes, Clock::now() + m_limits.idleTime);
}

void ClientConnection::get_remote_ip_and_port(std::string &ip, int &port) const
{
    ip = m_remote.ip;
    port = m_remote.port;
}

void ClientConnection::get_local_ip_and_port(std::string &ip, int &port) const
{
    ip = m_local.ip;
    port = m_local.port;
}

ClientConnection::Clock::time_point ClientConnection::readDeadline() const
{
    if (m_phase == Phase::header) {
        return m_headerDeadline;
    }
    return Clock::now() + m_limits.idleTime;
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
        m_socket.acknowledge();
    }
    const ssize_t count = m_socket.receive(m_buffer.data(), m_buffer.size(), readDeadline());
    if (count <= 0) {
        return false;
    }
    m_begin = 0;
    m_end = static_cast<std::size_t>(count);
    m_bytesIn += m_end;
    m_windowBytes += m_end;
    return true;
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
