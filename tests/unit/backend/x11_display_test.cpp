// SPDX-License-Identifier: MIT
#include "backend/FileDescriptor.h"
#include "backend/display.h"

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cstdlib>
#include <string>

namespace {

class Display : public testing::Test
{
protected:
    Display() { ::unsetenv("WAYLAND_DISPLAY"); }

    ~Display() override { ::unsetenv("DISPLAY"); }

    static bool opens(const std::string &display)
    {
        ::setenv("DISPLAY", display.c_str(), 1);
        return backend::displayOpens();
    }
};

/// A display of this computer that only listens.
class ListeningDisplay : public Display
{
protected:
    ListeningDisplay()
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        EXPECT_EQ(::bind(m_listener.get(), reinterpret_cast<sockaddr *>(&address), length), 0);
        EXPECT_EQ(::listen(m_listener.get(), 8), 0);
        EXPECT_EQ(::getsockname(m_listener.get(), reinterpret_cast<sockaddr *>(&address), &length), 0);
        m_number = ntohs(address.sin_port) - 6000;
    }

    [[nodiscard]] std::string name() const { return "127.0.0.1:" + std::to_string(m_number); }

    backend::FileDescriptor m_listener{::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)};
    long long m_number = 0;
};

TEST_F(ListeningDisplay, opens_with_and_without_a_screen)
{
    EXPECT_TRUE(opens(name()));
    EXPECT_TRUE(opens(name() + ".1"));
}

TEST_F(ListeningDisplay, is_not_found_by_what_only_begins_or_ends_like_its_number)
{
    EXPECT_FALSE(opens(name() + "x"));
    EXPECT_FALSE(opens("127.0.0.1:" + std::to_string(m_number + (1LL << 32))));
}

TEST_F(Display, does_not_open_when_its_number_is_none)
{
    for (const char *display : {"", "127.0.0.1", ":", ":.0", ":x", ":-1", ":99999999999999999999",
                                "127.0.0.1:", "127.0.0.1:2147483647", "127.0.0.1:59536", "127.0.0.1:1x"}) {
        EXPECT_FALSE(opens(display)) << display;
    }
}

} // namespace
