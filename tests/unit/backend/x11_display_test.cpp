// SPDX-License-Identifier: MIT
#include "tests/unit/backend/DisplayTest.h"

#include <netinet/in.h>

namespace {

using Display = DisplayTest;

/// A display of this computer, reached over the network.
class NetworkDisplay : public DisplayTest
{
protected:
    static sockaddr_in anyPort()
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        return address;
    }

    [[nodiscard]] std::string name() const { return "127.0.0.1:" + std::to_string(m_number); }

    DisplaySocket m_socket{anyPort(), sizeof(sockaddr_in)};
    long long m_number = ntohs(m_socket.address<sockaddr_in>().sin_port) - 6000;
};

TEST_F(NetworkDisplay, opens_with_and_without_a_screen)
{
    EXPECT_TRUE(opens(name()));
    EXPECT_TRUE(opens(name() + ".1"));
}

TEST_F(NetworkDisplay, is_not_found_by_what_only_begins_or_ends_like_its_number)
{
    EXPECT_FALSE(opens(name() + "x"));
    EXPECT_FALSE(opens("127.0.0.1:" + std::to_string(m_number + (1LL << 32))));
}

TEST_F(NetworkDisplay, that_hangs_is_given_up)
{
    m_socket.fillUp();
    EXPECT_TRUE(isGivenUp(name(), m_socket));
}

TEST_F(Display, does_not_open_when_its_number_is_none)
{
    for (const char *display : {"", "127.0.0.1", ":", ":.0", ":x", ":-1", ":99999999999999999999",
                                "127.0.0.1:", "127.0.0.1:2147483647", "127.0.0.1:59536", "127.0.0.1:1x"}) {
        EXPECT_FALSE(opens(display)) << display;
    }
}

} // namespace
