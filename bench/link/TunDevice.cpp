// SPDX-License-Identifier: MIT
#include "bench/link/TunDevice.h"

#include <fcntl.h>
#include <linux/if.h>
#include <linux/if_tun.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>

namespace {

[[noreturn]] void fail(const std::string &what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

// NOLINTNEXTLINE(cppcoreguidelines-pro-type-vararg): the system call has this shape
int openOrFail(const std::string &path, int flags)
{
    const int descriptor = ::open(path.c_str(), flags | O_CLOEXEC);
    if (descriptor < 0) {
        fail("cannot open " + path);
    }
    return descriptor;
}

/// Enters a network namespace and goes back at the end of the scope.
class NamespaceVisit
{
public:
    explicit NamespaceVisit(const std::string &name) : m_home(openOrFail("/proc/self/ns/net", O_RDONLY))
    {
        const int there = openOrFail("/run/netns/" + name, O_RDONLY);
        const int result = ::setns(there, CLONE_NEWNET);
        ::close(there);
        if (result != 0) {
            fail("cannot enter the network namespace " + name);
        }
    }

    ~NamespaceVisit()
    {
        if (::setns(m_home, CLONE_NEWNET) != 0) {
            std::terminate();
        }
        ::close(m_home);
    }

    NamespaceVisit(const NamespaceVisit &) = delete;
    NamespaceVisit &operator=(const NamespaceVisit &) = delete;

private:
    int m_home;
};

} // namespace

TunDevice::TunDevice(const std::string &networkNamespace, const std::string &name)
{
    const NamespaceVisit visit(networkNamespace);
    m_descriptor = openOrFail("/dev/net/tun", O_RDWR | O_NONBLOCK);
    ifreq request{};
    request.ifr_flags = IFF_TUN | IFF_NO_PI;
    name.copy(request.ifr_name, IFNAMSIZ - 1);
    if (::ioctl(m_descriptor, TUNSETIFF, &request) != 0) {
        const int error = errno;
        ::close(m_descriptor);
        errno = error;
        fail("cannot make the TUN device " + name);
    }
}

TunDevice::~TunDevice()
{
    ::close(m_descriptor);
}

std::optional<std::vector<std::byte>> TunDevice::read() const
{
    std::array<std::byte, 65536> buffer; // NOLINT(cppcoreguidelines-pro-type-member-init): filled by read
    const auto length = ::read(m_descriptor, buffer.data(), buffer.size());
    if (length <= 0) {
        return std::nullopt;
    }
    return std::vector<std::byte>(buffer.begin(), buffer.begin() + length);
}

void TunDevice::write(std::span<const std::byte> packet) const
{
    [[maybe_unused]] const auto written = ::write(m_descriptor, packet.data(), packet.size());
}
