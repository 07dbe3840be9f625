// SPDX-License-Identifier: MIT
#include "vrc/socket_backlog.h"

#include <linux/sockios.h>
#include <sys/ioctl.h>

#include <algorithm>

namespace vrc {

std::uint64_t unsentBytes(curl_socket_t socket)
{
    int bytes = 0;
    if (socket == CURL_SOCKET_BAD || ioctl(socket, SIOCOUTQ, &bytes) != 0) {
        return 0;
    }
    return static_cast<std::uint64_t>(std::max(bytes, 0));
}

} // namespace vrc
