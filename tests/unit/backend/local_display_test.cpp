// SPDX-License-Identifier: MIT
#include "tests/support/TemporaryFolder.h"
#include "tests/unit/backend/DisplayTest.h"

#include <sys/un.h>
#include <unistd.h>

namespace {

/// A path that begins with a zero byte is no file.
DisplaySocket socketAt(const std::string &path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path);
    return {address, static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + path.size())};
}

std::string x11Number()
{
    return std::to_string(100'000 + ::getpid());
}

/// An X server's socket without a file: it needs no folder that belongs to everybody.
DisplaySocket x11Socket()
{
    return socketAt(std::string(1, '\0') + "/tmp/.X11-unix/X" + x11Number());
}

class LocalX11Display : public DisplayTest
{
protected:
    std::string m_number = x11Number();
    DisplaySocket m_socket = x11Socket();
};

TEST_F(LocalX11Display, opens_by_its_number)
{
    for (const std::string &display : {":" + m_number, ":" + m_number + ".0", "unix:" + m_number}) {
        EXPECT_TRUE(opens(display)) << display;
    }
    EXPECT_FALSE(opens(":" + m_number + "0"));
}

TEST_F(LocalX11Display, that_hangs_is_given_up)
{
    m_socket.fillUp();
    EXPECT_TRUE(isGivenUp(":" + m_number, m_socket));
}

class WaylandDisplay : public DisplayTest
{
protected:
    static bool opensWayland(const std::string &display)
    {
        const ScopedVariable wayland("WAYLAND_DISPLAY", display);
        return opens("");
    }

    TemporaryFolder m_folder;
    ScopedVariable m_runtimeFolder{"XDG_RUNTIME_DIR", m_folder.path()};
    DisplaySocket m_socket = socketAt(m_folder.file("wayland-7"));
};

TEST_F(WaylandDisplay, opens_by_its_name_and_by_its_path)
{
    EXPECT_TRUE(opensWayland("wayland-7"));
    EXPECT_TRUE(opensWayland(m_folder.file("wayland-7")));
    EXPECT_FALSE(opensWayland("wayland-8"));
    EXPECT_FALSE(opensWayland(m_folder.file("wayland-8")));
}

TEST_F(WaylandDisplay, whose_path_is_too_long_for_a_socket_does_not_open)
{
    EXPECT_FALSE(opensWayland("/" + std::string(200, 'w')));
}

TEST_F(WaylandDisplay, that_is_gone_leaves_an_x11_display)
{
    m_socket.close();
    EXPECT_FALSE(opensWayland("wayland-7"));
    const DisplaySocket x11 = x11Socket();
    const ScopedVariable wayland("WAYLAND_DISPLAY", "wayland-7");
    EXPECT_TRUE(opens(":" + x11Number()));
}

} // namespace
