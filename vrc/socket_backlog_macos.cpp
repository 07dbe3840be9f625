// SPDX-License-Identifier: MIT
#include "vrc/socket_backlog.h"

#include <sys/socket.h>

#include <algorithm>

namespace vrc {

std::uint64_t unsentBytes(curl_socket_t socket)
{
    int bytes = 0;
    socklen_t size = sizeof bytes;
    if (socket == CURL_SOCKET_BAD || getsockopt(socket, SOL_SOCKET, SO_NWRITE, &bytes, &size) != 0) {
        return 0;
    }
    return static_cast<std::uint64_t>(std::max(bytes, 0));
}

} // namespace vrc
