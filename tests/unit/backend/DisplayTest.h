// SPDX-License-Identifier: MIT
#pragma once

#include "backend/FileDescriptor.h"
#include "backend/display.h"
#include "tests/support/ScopedVariable.h"

#include <gtest/gtest.h>
#include <sys/socket.h>

#include <chrono>
#include <cstring>
#include <future>
#include <string>
#include <vector>

/// A socket in the place of a display: it listens, and takes nobody in.
class DisplaySocket
{
public:
    template <typename Address>
    DisplaySocket(const Address &address, socklen_t length)
        : m_listener(::socket(familyOf(address), SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        EXPECT_EQ(::bind(m_listener.get(), reinterpret_cast<const sockaddr *>(&address), length), 0);
        EXPECT_EQ(::listen(m_listener.get(), 8), 0);
        m_length = sizeof m_address;
        EXPECT_EQ(::getsockname(m_listener.get(), generic(), &m_length), 0);
    }

    /// From now on whoever connects has to wait.
    void fillUp()
    {
        EXPECT_EQ(::listen(m_listener.get(), 0), 0);
        for (int i = 0; i < 16; ++i) {
            m_waiting.emplace_back(
                ::socket(m_address.ss_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
            (void)::connect(m_waiting.back().get(), generic(), m_length);
        }
    }

    /// Sends everybody away.
    void close() { m_listener = backend::FileDescriptor(); }

    template <typename Address>
    [[nodiscard]] Address address() const
    {
        Address result{};
        std::memcpy(&result, &m_address, sizeof result);
        return result;
    }

private:
    template <typename Address>
    static int familyOf(const Address &address)
    {
        return reinterpret_cast<const sockaddr *>(&address)->sa_family;
    }

    sockaddr *generic() { return reinterpret_cast<sockaddr *>(&m_address); }

    backend::FileDescriptor m_listener;
    std::vector<backend::FileDescriptor> m_waiting;
    sockaddr_storage m_address{};
    socklen_t m_length = 0;
};

/// Asks for one display in an environment that names no other.
class DisplayTest : public testing::Test
{
protected:
    static bool opens(const std::string &display)
    {
        const ScopedVariable x11("DISPLAY", display);
        return backend::displayOpens();
    }

    /// Whether the answer for a display that hangs is "no", and comes within twenty seconds.
    static bool isGivenUp(const std::string &display, DisplaySocket &socket)
    {
        auto answer = std::async(std::launch::async, [&] { return opens(display); });
        const bool inTime = answer.wait_for(std::chrono::seconds(20)) == std::future_status::ready;
        socket.close();
        return !answer.get() && inTime;
    }

private:
    ScopedVariable m_wayland{"WAYLAND_DISPLAY", ""};
};
