// SPDX-License-Identifier: MIT
#include "appserver/socket_address.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <array>
#include <cstring>

namespace appserver {

namespace {

SocketAddress described(const sockaddr_storage &address)
{
    SocketAddress result;
    std::array<char, INET6_ADDRSTRLEN> text{};
    if (address.ss_family == AF_INET) {
        sockaddr_in v4;
        std::memcpy(&v4, &address, sizeof v4);
        ::inet_ntop(AF_INET, &v4.sin_addr, text.data(), text.size());
        result.port = ntohs(v4.sin_port);
    } else if (address.ss_family == AF_INET6) {
        sockaddr_in6 v6;
        std::memcpy(&v6, &address, sizeof v6);
        ::inet_ntop(AF_INET6, &v6.sin6_addr, text.data(), text.size());
        result.port = ntohs(v6.sin6_port);
    }
    result.ip = text.data();
    return result;
}

template <typename Query>
SocketAddress endOf(int socket, Query query)
{
    sockaddr_storage address{};
    socklen_t length = sizeof address;
    void *raw = &address;
    return query(socket, static_cast<sockaddr *>(raw), &length) == 0 ? described(address) : SocketAddress();
}

} // namespace

SocketAddress localAddressOf(int socket)
{
    return endOf(socket, ::getsockname);
}

SocketAddress remoteAddressOf(int socket)
{
    return endOf(socket, ::getpeername);
}

} // namespace appserver
