// SPDX-License-Identifier: MIT
#include "vrc/connection_string.h"

#include <gtest/gtest.h>

using vrc::parseConnectionString;

TEST(ConnectionString, a_plain_one_is_read)
{
    const auto settings = parseConnectionString(
        R"(Unicode="YES" Server="print.example:1082" Application="app" User="u" Password="p" ConnectionTimeOut="5")");
    ASSERT_TRUE(settings);
    EXPECT_EQ(settings->host, "print.example");
    EXPECT_EQ(settings->port, 1082);
    EXPECT_FALSE(settings->proxy);
    EXPECT_FALSE(settings->ssl);
    EXPECT_FALSE(settings->singleSignOn);
    EXPECT_EQ(settings->application, "app");
    EXPECT_EQ(settings->user, "u");
    EXPECT_EQ(settings->password, "p");
    EXPECT_EQ(settings->connectTimeout, std::chrono::seconds(5));
}

TEST(ConnectionString, every_key_is_read)
{
    const auto settings = parseConnectionString(
        R"(Unicode="YES" Server="h:1" Sso="YES" SsoPrincipal="HTTP/h" Application="" User="" Password="" Ssl="YES" Open="o" Close="c" SocketLog="/tmp/a b" ConnectionTimeOut="3600")");
    ASSERT_TRUE(settings);
    EXPECT_TRUE(settings->ssl);
    EXPECT_TRUE(settings->singleSignOn);
    EXPECT_EQ(settings->principal, "HTTP/h");
    EXPECT_EQ(settings->openProcedure, "o");
    EXPECT_EQ(settings->closeProcedure, "c");
    EXPECT_EQ(settings->socketLog, "/tmp/a b");
}

class PasswordInConnectionString : public testing::TestWithParam<std::string>
{};

TEST_P(PasswordInConnectionString, is_taken_as_it_stands)
{
    const auto settings = parseConnectionString("Server=\"h:1\" Password=\"" + GetParam() +
                                                "\" Ssl=\"YES\" ConnectionTimeOut=\"5\"");
    ASSERT_TRUE(settings);
    EXPECT_EQ(settings->password, GetParam());
    EXPECT_TRUE(settings->ssl);
}

INSTANTIATE_TEST_SUITE_P(Table, PasswordInConnectionString,
                         testing::Values("", "\"", "a\"b", "a\" b", "a\" b=\"c", "\" Password=\"x", "a=\"b",
                                         "caf\xc3\xa9", " ", "a\" Unknown=\"b", "\\", "a;b)::c"));

struct ProxyCase
{
    std::string server;
    vrc::ProxySettings proxy;
    std::string host;
};

class ProxyInConnectionString : public testing::TestWithParam<ProxyCase>
{};

TEST_P(ProxyInConnectionString, is_taken_apart)
{
    const auto settings = parseConnectionString("Server=\"" + GetParam().server + "\"");
    ASSERT_TRUE(settings);
    EXPECT_EQ(settings->proxy, GetParam().proxy);
    EXPECT_EQ(settings->host, GetParam().host);
    EXPECT_EQ(settings->port, 1082);
}

INSTANTIATE_TEST_SUITE_P(
    Table, ProxyInConnectionString,
    testing::Values(ProxyCase{"proxy::http://p:3128::h:1082", {"p", 3128, "", ""}, "h"},
                    ProxyCase{"proxy::http://p:3128(u;w)::h:1082", {"p", 3128, "u", "w"}, "h"},
                    ProxyCase{"proxy::http://p:3128(u;)::h:1082", {"p", 3128, "u", ""}, "h"},
                    ProxyCase{"proxy::http://p:3128(u;a;b(c)d)::h:1082", {"p", 3128, "u", "a;b(c)d"}, "h"},
                    ProxyCase{"proxy::http://p:3128(u;a)::b)::h:1082", {"p", 3128, "u", "a)::b"}, "h"},
                    ProxyCase{"proxy::http://p:3128(u;a::b)::h:1082", {"p", 3128, "u", "a::b"}, "h"},
                    ProxyCase{
                        "proxy::http://[::1]:3128::[fe80::2]:1082", {"[::1]", 3128, "", ""}, "[fe80::2]"},
                    ProxyCase{"proxy::http://p:3128::::1:1082", {"p", 3128, "", ""}, "[::1]"}));

class BadConnectionString : public testing::TestWithParam<std::string>
{};

TEST_P(BadConnectionString, is_refused)
{
    EXPECT_FALSE(parseConnectionString(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(
    Table, BadConnectionString,
    testing::Values("", " ", "Server", "Server=", "Server=\"", "Server=\"h:1", "Server=\"\"", "Server=\"h\"",
                    "Server=\"h:0\"", "Server=\"h:65536\"", "Server=\"h:-1\"", "Server=\"h:1x\"",
                    "Server=\":1\"", "Server=\"a/b:1\"", "Server=\"u@h:1\"", "Server=\"a b:1\"",
                    "Server=\"h?x:1\"", "server=\"h:1\"", "Application=\"a\"", "Unknown=\"a\" Server=\"h:1\"",
                    "Server=\"h:1\" Ssl=\"yes\"", "Server=\"h:1\" Sso=\"1\"", "Server=\"h:1\" Unicode=\"\"",
                    "Server=\"h:1\" ConnectionTimeOut=\"0\"", "Server=\"h:1\" ConnectionTimeOut=\"x\"",
                    "Server=\"h:1\" ConnectionTimeOut=\"3601\"", " Server=\"h:1\"", "Server=\"h:1\" ",
                    "Server=\"h:1\"x", "Server=\"proxy::http://h:1\"", "Server=\"proxy::http://p::h:1\"",
                    "Server=\"proxy::http://p:1(u)::h:1\"", "Server=\"proxy::https://p:1::h:1\"",
                    "Server=\"h:1\" User=\"\xff\""));
