// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace appserver {

/// One end of a connection over IPv4 or IPv6.
struct SocketAddress
{
    std::string ip; ///< as text; empty where the system does not tell
    int port = 0;
};

[[nodiscard]] SocketAddress localAddressOf(int socket);
[[nodiscard]] SocketAddress remoteAddressOf(int socket);

} // namespace appserver
