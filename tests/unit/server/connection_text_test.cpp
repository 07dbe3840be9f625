// SPDX-License-Identifier: MIT
#include "vrp/server/connection_text.h"

#include <gtest/gtest.h>

namespace {

ConnectionParameters plainConnection()
{
    ConnectionParameters parameters;
    parameters.server = L"host";
    parameters.port = 1082;
    parameters.ssl = false;
    parameters.application = L"app";
    parameters.user = L"user";
    parameters.password = L"session-secret";
    return parameters;
}

TEST(ConnectionString, a_plain_connection_has_server_application_user_password_and_time_out)
{
    EXPECT_EQ(buildConnectionString(plainConnection(), {}, L"").real,
              L"Unicode=\"YES\" Server=\"host:1082\" Application=\"app\" User=\"user\" "
              L"Password=\"session-secret\" ConnectionTimeOut=\"5\"");
}

TEST(ConnectionString, the_masked_copy_hides_the_session_password)
{
    EXPECT_EQ(buildConnectionString(plainConnection(), {}, L"").masked,
              L"Unicode=\"YES\" Server=\"host:1082\" Application=\"app\" User=\"user\" Password=\"****\" "
              L"ConnectionTimeOut=\"5\"");
}

TEST(ConnectionString, an_empty_password_is_masked_as_well)
{
    ConnectionParameters parameters = plainConnection();
    parameters.password.clear();
    EXPECT_EQ(buildConnectionString(parameters, {}, L"").masked,
              L"Unicode=\"YES\" Server=\"host:1082\" Application=\"app\" User=\"user\" Password=\"****\" "
              L"ConnectionTimeOut=\"5\"");
}

TEST(ConnectionString, every_part_stands_in_its_place)
{
    ConnectionParameters parameters = plainConnection();
    parameters.ssl = true;
    parameters.sso = true;
    parameters.ssoPrincipal = L"vr/host";
    parameters.openProcedure = L"OpenProc";
    parameters.closeProcedure = L"CloseProc";
    const ProxySettings proxy{L"proxy", 3128, L"pu", L"proxy-secret"};
    const ConnectionString connection = buildConnectionString(parameters, proxy, L"/tmp/socket log");
    EXPECT_EQ(connection.real,
              L"Unicode=\"YES\" Server=\"proxy::http://proxy:3128(pu;proxy-secret)::host:1082\" Sso=\"YES\" "
              L"SsoPrincipal=\"vr/host\" Application=\"app\" User=\"user\" Password=\"session-secret\" "
              L"Ssl=\"YES\" Open=\"OpenProc\" Close=\"CloseProc\" SocketLog=\"/tmp/socket log\" "
              L"ConnectionTimeOut=\"5\"");
    EXPECT_EQ(connection.masked,
              L"Unicode=\"YES\" Server=\"proxy::http://proxy:3128(pu;****)::host:1082\" Sso=\"YES\" "
              L"SsoPrincipal=\"vr/host\" Application=\"app\" User=\"user\" Password=\"****\" "
              L"Ssl=\"YES\" Open=\"OpenProc\" Close=\"CloseProc\" SocketLog=\"/tmp/socket log\" "
              L"ConnectionTimeOut=\"5\"");
}

TEST(ConnectionString, a_proxy_without_a_user_has_no_credentials)
{
    const ProxySettings proxy{L"proxy", 3128, L"", L"left over"};
    EXPECT_EQ(buildConnectionString(plainConnection(), proxy, L"").real,
              L"Unicode=\"YES\" Server=\"proxy::http://proxy:3128::host:1082\" Application=\"app\" "
              L"User=\"user\" Password=\"session-secret\" ConnectionTimeOut=\"5\"");
}

TEST(ConnectionString, the_proxy_is_addressed_without_ssl_also_for_an_ssl_connection)
{
    ConnectionParameters parameters = plainConnection();
    parameters.ssl = true;
    EXPECT_EQ(buildConnectionString(parameters, {L"proxy", 3128, L"", L""}, L"").real,
              L"Unicode=\"YES\" Server=\"proxy::http://proxy:3128::host:1082\" Application=\"app\" "
              L"User=\"user\" Password=\"session-secret\" Ssl=\"YES\" ConnectionTimeOut=\"5\"");
}

TEST(ConnectionString, values_are_not_escaped)
{
    ConnectionParameters parameters = plainConnection();
    parameters.user = L"a\"b;c";
    EXPECT_EQ(buildConnectionString(parameters, {}, L"").real,
              L"Unicode=\"YES\" Server=\"host:1082\" Application=\"app\" User=\"a\"b;c\" "
              L"Password=\"session-secret\" ConnectionTimeOut=\"5\"");
}

TEST(ConnectionString, a_value_cannot_begin_another_one)
{
    const std::pair<const wchar_t *, const wchar_t *> cases[] = {
        {L"app\" SocketLog=\"/home/ada/.profile", L"app SocketLog=\"/home/ada/.profile"},
        {L"app\" SocketLog=", L"app SocketLog="},
        {L"app\"\" Ssl=\"NO", L"app Ssl=\"NO"},
        {L"a\" SocketLog=\" Open=\"x", L"a\" SocketLog= Open=\"x"},
        {L"a\"b \" c=\"d", L"a\"b \" c=\"d"},
        {L"\"", L"\""},
    };
    for (const auto &[given, sent] : cases) {
        ConnectionParameters parameters = plainConnection();
        parameters.application = given;
        EXPECT_EQ(buildConnectionString(parameters, {}, L"").real,
                  L"Unicode=\"YES\" Server=\"host:1082\" Application=\"" + std::wstring(sent) +
                      L"\" User=\"user\" Password=\"session-secret\" ConnectionTimeOut=\"5\"");
    }
}

} // namespace
