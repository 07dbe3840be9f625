// SPDX-License-Identifier: MIT
#pragma once

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

/// A TCP socket on 127.0.0.1 that is closed with this object.
class LoopbackSocket
{
public:
    LoopbackSocket() = default;

    explicit LoopbackSocket(int descriptor) : m_descriptor(descriptor) {}

    LoopbackSocket(LoopbackSocket &&other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}

    LoopbackSocket &operator=(LoopbackSocket &&other) noexcept
    {
        std::swap(m_descriptor, other.m_descriptor);
        return *this;
    }

    LoopbackSocket(const LoopbackSocket &) = delete;
    LoopbackSocket &operator=(const LoopbackSocket &) = delete;

    ~LoopbackSocket() { close(); }

    /// Listens on a free port. With a receive buffer of so many bytes for each connection; 0: the system's.
    static LoopbackSocket listener(int receiveBuffer = 0)
    {
        LoopbackSocket socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
        if (receiveBuffer > 0) {
            ::setsockopt(socket.m_descriptor, SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof receiveBuffer);
        }
        sockaddr_in address = loopback(0);
        if (::bind(socket.m_descriptor, asGeneric(&address), sizeof address) != 0 ||
            ::listen(socket.m_descriptor, 64) != 0) {
            throw std::runtime_error("cannot listen on the loopback interface");
        }
        return socket;
    }

    /// Not open when nobody listens there.
    static LoopbackSocket connection(int port)
    {
        LoopbackSocket socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
        sockaddr_in address = loopback(port);
        if (::connect(socket.m_descriptor, asGeneric(&address), sizeof address) != 0) {
            socket.close();
        }
        socket.sendAtOnce();
        return socket;
    }

    /// Two ends that are connected with each other.
    static std::array<LoopbackSocket, 2> pair()
    {
        std::array<int, 2> ends = {-1, -1};
        if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
            throw std::runtime_error("cannot make a pair of sockets");
        }
        return {LoopbackSocket(ends[0]), LoopbackSocket(ends[1])};
    }

    [[nodiscard]] LoopbackSocket accept() const
    {
        LoopbackSocket socket(::accept4(m_descriptor, nullptr, nullptr, SOCK_CLOEXEC));
        socket.sendAtOnce();
        return socket;
    }

    [[nodiscard]] int port() const
    {
        sockaddr_in address = {};
        socklen_t size = sizeof address;
        ::getsockname(m_descriptor, asGeneric(&address), &size);
        return ntohs(address.sin_port);
    }

    [[nodiscard]] bool isOpen() const { return m_descriptor >= 0; }

    [[nodiscard]] int descriptor() const { return m_descriptor; }

    /// False when the other side is gone.
    bool send(std::string_view bytes) const
    {
        while (!bytes.empty()) {
            const ssize_t sent = ::send(m_descriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL);
            if (sent <= 0) {
                return false;
            }
            bytes.remove_prefix(static_cast<std::size_t>(sent));
        }
        return true;
    }

    /// What has arrived, at least a byte; empty at the end of the connection.
    [[nodiscard]] std::string receive(std::size_t atMost = 65536) const
    {
        std::string bytes(atMost, '\0');
        const ssize_t count = ::recv(m_descriptor, bytes.data(), bytes.size(), 0);
        bytes.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
        return bytes;
    }

    /// Everything until the other side closes.
    [[nodiscard]] std::string receiveAll() const
    {
        std::string all;
        for (std::string piece = receive(); !piece.empty(); piece = receive()) {
            all += piece;
        }
        return all;
    }

    /// Something has arrived, or the other side has closed.
    [[nodiscard]] bool isReadable() const
    {
        pollfd entry{m_descriptor, POLLIN, 0};
        return ::poll(&entry, 1, 0) > 0;
    }

    /// Wakes up whoever waits for this socket.
    void shutDown() const { ::shutdown(m_descriptor, SHUT_RDWR); }

    /// Closes so that the other side sees a reset.
    void reset()
    {
        const linger hard = {1, 0};
        ::setsockopt(m_descriptor, SOL_SOCKET, SO_LINGER, &hard, sizeof hard);
        close();
    }

    void close()
    {
        if (m_descriptor >= 0) {
            ::close(std::exchange(m_descriptor, -1));
        }
    }

private:
    /// Small pieces do not wait for the other side's acknowledgement.
    void sendAtOnce() const
    {
        const int on = 1;
        ::setsockopt(m_descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    }

    static sockaddr_in loopback(int port)
    {
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        return address;
    }

    static sockaddr *asGeneric(sockaddr_in *address) { return reinterpret_cast<sockaddr *>(address); }

    int m_descriptor = -1;
};
