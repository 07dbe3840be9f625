// SPDX-License-Identifier: MIT
#include "vrp/platform/system.h"

#include "vrp/platform/text.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>

TEST(system_services, the_user_name_is_empty)
{
    EXPECT_EQ(VrpsGetUserName(), L"");
    EXPECT_EQ(MacGetUserName(), L"");
}

TEST(system_services, the_last_error_is_the_systems)
{
    std::wstring text = L"before";
    errno = EACCES;
    EXPECT_EQ(VrpsGetLastSystemError(text), EACCES);
    EXPECT_EQ(wtoUTF8(text), std::strerror(EACCES));
    EXPECT_EQ(MacGetLastSystemError(text), EACCES);
}

TEST(system_services, resetting_the_last_error_ignores_the_code)
{
    errno = EACCES;
    VrpsSetLastError(42);
    EXPECT_EQ(errno, 0);
    std::wstring text = L"before";
    EXPECT_EQ(VrpsGetLastSystemError(text), 0);
    EXPECT_EQ(wtoUTF8(text), std::strerror(0));
}

TEST(system_services, the_system_always_answers_no_proxy_on_port_8080)
{
    for (const bool ssl : {false, true}) {
        std::wstring host = L"old";
        int port = 1;
        EXPECT_TRUE(VrpsGetProxy(host, port, ssl, L"http://server:1082/Config/blank.htm"));
        EXPECT_EQ(host, L"");
        EXPECT_EQ(port, 8080);
    }
}
