// SPDX-License-Identifier: MIT
#include "vrp/server/login.h"

#include "tests/support/ServerTest.h"

namespace {

using Login = ServerTest;

TEST_F(Login, all_parameters_of_the_named_server_are_read)
{
    ParameterMap parameters{{L"SERVER_PORTAL_ADDRESS", L"host"},
                            {L"SERVER_PORTAL_PORT", L"2000"},
                            {L"SERVER_PORTAL_PROTOCOL", L"HTTP"},
                            {L"SERVER_PORTAL_APPLICATION", L"app"},
                            {L"SERVER_PORTAL_USER", L"user"},
                            {L"SERVER_PORTAL_PASSWORD", L"secret"},
                            {L"SERVER_PORTAL_OPEN_SESSION_PROC", L"Open"},
                            {L"SERVER_PORTAL_CLOSE_SESSION_PROC", L"Close"},
                            {L"SERVER_PORTAL_SSO", L"YES"},
                            {L"SERVER_PORTAL_SSO_PRINCIPAL", L"vr/host"},
                            {L"SERVER_UPLOAD_ADDRESS", L"other"}};
    const ConnectionParameters connection = readServerParameters(parameters, L"PORTAL");
    EXPECT_EQ(connection.server, L"host");
    EXPECT_EQ(connection.port, 2000);
    EXPECT_FALSE(connection.ssl);
    EXPECT_EQ(connection.application, L"app");
    EXPECT_EQ(connection.user, L"user");
    EXPECT_EQ(connection.password, L"secret");
    EXPECT_EQ(connection.openProcedure, L"Open");
    EXPECT_EQ(connection.closeProcedure, L"Close");
    EXPECT_TRUE(connection.sso);
    EXPECT_EQ(connection.ssoPrincipal, L"vr/host");
    EXPECT_EQ(connection.loginArguments, L"");
}

TEST_F(Login, an_empty_address_is_the_local_host)
{
    ParameterMap parameters;
    EXPECT_EQ(readServerParameters(parameters, L"UPLOAD").server, L"127.0.0.1");
}

TEST_F(Login, a_port_below_one_or_not_a_number_is_1082)
{
    const std::pair<const wchar_t *, int> cases[] = {{L"", 1082},      {L"0", 1082},     {L"-5", 1082},
                                                     {L"abc", 1082},   {L"1", 1},        {L" 2000 ", 2000},
                                                     {L"2000x", 2000}, {L"99999", 99999}};
    for (const auto &[text, port] : cases) {
        ParameterMap parameters{{L"SERVER_UPLOAD_PORT", text}};
        EXPECT_EQ(readServerParameters(parameters, L"UPLOAD").port, port);
    }
}

TEST_F(Login, only_the_protocol_http_is_a_connection_without_ssl)
{
    const std::pair<const wchar_t *, bool> cases[] = {
        {L"HTTP", false}, {L" http ", false},  {L"h t t p", false}, {L"HTTPS", true},
        {L"", true},      {L"HTTP/1.1", true}, {L"plain", true}};
    for (const auto &[text, ssl] : cases) {
        ParameterMap parameters{{L"SERVER_UPLOAD_PROTOCOL", text}};
        EXPECT_EQ(readServerParameters(parameters, L"UPLOAD").ssl, ssl);
    }
}

TEST_F(Login, single_sign_on_takes_the_place_of_identifier_and_password)
{
    main->ident = L"ident";
    main->password = L"pass word";
    const std::pair<const wchar_t *, bool> cases[] = {{L"YES", true}, {L" yes ", true}, {L"y e s", true},
                                                      {L"NO", false}, {L"", false},     {L"1", false}};
    for (const auto &[text, sso] : cases) {
        ParameterMap parameters{{L"SERVER_UPLOAD_SSO", text}};
        const ConnectionParameters connection = readServerParameters(parameters, L"UPLOAD");
        EXPECT_EQ(connection.sso, sso);
        EXPECT_EQ(connection.loginArguments, sso ? L"" : L"POD_USER=|ident| POD_PASSWORD=|pass word|");
    }
}

} // namespace
