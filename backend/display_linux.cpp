// SPDX-License-Identifier: MIT
#include "backend/display.h"

#include "backend/FileDescriptor.h"
#include "backend/whole_number.h"

#include <netdb.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

namespace backend {
namespace {

constexpr int firstX11Port = 6000;
constexpr int lastPort = 65535;
constexpr timeval longestConnect{3, 0};

std::string environment(const char *name)
{
    const char *value = std::getenv(name);
    return value != nullptr ? value : "";
}

/// A host that is away, or a display that hangs, must not keep the agent from asking for another one.
bool connects(int family, const sockaddr *address, socklen_t length)
{
    const FileDescriptor socket(::socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0));
    // The limit of a connect(2) as well (socket(7)).
    return socket.isOpen() &&
           ::setsockopt(socket.get(), SOL_SOCKET, SO_SNDTIMEO, &longestConnect, sizeof longestConnect) == 0 &&
           ::connect(socket.get(), address, length) == 0;
}

/// A path that begins with a zero byte names a socket in the abstract name space.
bool connectsLocally(const std::string &path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof address.sun_path) {
        return false;
    }
    std::memcpy(address.sun_path, path.data(), path.size());
    const bool isAbstract = path[0] == '\0';
    const auto length =
        static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + path.size() + (isAbstract ? 0 : 1));
    return connects(AF_UNIX, reinterpret_cast<sockaddr *>(&address), length);
}

bool connectsOverNetwork(const std::string &host, int port)
{
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    addrinfo *found = nullptr;
    if (::getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &found) != 0) {
        return false;
    }
    const std::unique_ptr<addrinfo, void (*)(addrinfo *)> addresses(found, ::freeaddrinfo);
    for (const addrinfo *address = found; address != nullptr; address = address->ai_next) {
        if (connects(address->ai_family, address->ai_addr, address->ai_addrlen)) {
            return true;
        }
    }
    return false;
}

/// DISPLAY is [host]:number[.screen] (X(7)).
bool x11Opens(const std::string &display)
{
    const std::size_t colon = display.rfind(':');
    if (colon == std::string::npos) {
        return false;
    }
    const std::string_view behind = std::string_view(display).substr(colon + 1);
    const auto number = wholeNumber<int>(behind.substr(0, behind.find('.')));
    if (!number || *number < 0) {
        return false;
    }
    const std::string host = display.substr(0, colon);
    if (!host.empty() && host != "unix") {
        return *number <= lastPort - firstX11Port && connectsOverNetwork(host, firstX11Port + *number);
    }
    const std::string path = "/tmp/.X11-unix/X" + std::to_string(*number);
    return connectsLocally(path) || connectsLocally(std::string(1, '\0') + path);
}

bool waylandOpens(const std::string &display)
{
    const bool isPath = !display.empty() && display[0] == '/';
    return !display.empty() &&
           connectsLocally(isPath ? display : environment("XDG_RUNTIME_DIR") + "/" + display);
}

} // namespace

bool displayOpens()
{
    return waylandOpens(environment("WAYLAND_DISPLAY")) || x11Opens(environment("DISPLAY"));
}

} // namespace backend
