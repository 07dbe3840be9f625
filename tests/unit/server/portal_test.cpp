// SPDX-License-Identifier: MIT
#include "vrp/server/portal.h"

#include "tests/support/ServerTest.h"
#include "vrp/server/portal_address.h"
#include "vrp/settings/stored_credentials.h"

namespace {

constexpr char nop[] = "VR_CMD=|MISC:NOP|";
constexpr char sessionQuery[] = "VR_CMD=|LOCAL:REQUEST:GET_SESSION_ID|";
constexpr char sessionEnd[] = "> VR_CLOSE_SESSION=|YES|\nclose\n";

class Portal : public ServerTest
{
protected:
    Portal()
    {
        main->ident = L"ident";
        main->password = L"secret";
        library.answer(sessionQuery, "S123");
    }

    int open() { return VrpsOpenPortal(parameters, fileId); }

    [[nodiscard]] static std::string address(const std::wstring &identifier, const std::wstring &password)
    {
        return wtoUTF8(L"browser http://portal/page?lang=en&VR_SESSION_ID=S123&CTRL=" +
                       controlDigest(L"S123", identifier, password) + L"\n");
    }

    ParameterMap parameters{{L"PORTAL_URL", L"http://portal/page?lang=en"},
                            {L"SERVER_PORTAL_ADDRESS", L"host"},
                            {L"SERVER_PORTAL_PORT", L"2000"},
                            {L"SERVER_PORTAL_APPLICATION", L"app"},
                            {L"SERVER_PORTAL_USER", L"user"},
                            {L"SERVER_PORTAL_PASSWORD", L"session-secret"},
                            {L"SERVER_PORTAL_OPEN_SESSION_PROC", L"Open"},
                            {L"SERVER_PORTAL_CLOSE_SESSION_PROC", L"Close"}};
    std::wstring fileId = L"FILE-7";
};

TEST_F(Portal, the_whole_exchange_leaves_the_session_open)
{
    EXPECT_EQ(open(), 0);
    EXPECT_EQ(Transcript::text(), R"(window Connecting the server... -1
refresh
open Unicode="YES" Server="host:2000" Application="app" User="user" Password="session-secret" Ssl="YES" Open="Open" Close="Close" ConnectionTimeOut="5"
> VR_CMD=|MISC:NOP| POD_USER=|ident| POD_PASSWORD=|secret|
refresh
> VR_CMD=|LOCAL:REQUEST:GET_SESSION_ID|
> VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|STRING| NAME=|FILE_ID| REPLACE=|YES|
> VR_CMD=|LOCAL:OBJECT:STRING_SET_VALUE| NAME=|FILE_ID| VALUE=|FILE-7|
> VR_CMD=|OBJECT:SEND| NAME=|FILE_ID|
window Opening browser... -1
refresh
)" + address(L"ident", L"secret") + "close window\nclose\n");
    EXPECT_EQ(logText().find("secret"), std::string::npos);
}

TEST_F(Portal, the_address_ends_in_a_digest_of_32_upper_case_hexadecimal_digits)
{
    EXPECT_EQ(open(), 0);
    const std::string opened = Transcript::linesFrom("browser ");
    const std::string digest = opened.substr(opened.find("&CTRL=") + 6);
    EXPECT_EQ(digest.size(), 33U);
    EXPECT_EQ(digest.find_first_not_of("0123456789ABCDEF"), 32U);
}

TEST_F(Portal, without_an_address_nothing_is_opened)
{
    parameters[L"PORTAL_URL"] = L"";
    EXPECT_EQ(open(), 0);
    parameters.erase(L"PORTAL_URL");
    EXPECT_EQ(open(), 0);
    EXPECT_EQ(Transcript::text(), "");
    EXPECT_EQ(logText(), "");
}

TEST_F(Portal, an_empty_file_identifier_is_handed_over)
{
    fileId.clear();
    EXPECT_EQ(open(), 0);
    EXPECT_EQ(Transcript::count("> VR_CMD=|LOCAL:OBJECT:STRING_SET_VALUE| NAME=|FILE_ID| VALUE=||"), 1);
}

TEST_F(Portal, with_single_sign_on_no_identifier_and_password_are_sent_or_digested)
{
    parameters[L"SERVER_PORTAL_SSO"] = L"yes";
    parameters[L"SERVER_PORTAL_SSO_PRINCIPAL"] = L"vr/host";
    EXPECT_EQ(open(), 0);
    EXPECT_EQ(Transcript::linesFrom("> VR_CMD=|MISC:NOP|"), "> VR_CMD=|MISC:NOP|\n");
    EXPECT_NE(library.connections()[0].find("Sso=\"YES\" SsoPrincipal=\"vr/host\""), std::string::npos);
    EXPECT_EQ(Transcript::linesFrom("browser "), address(L"", L""));
}

TEST_F(Portal, a_failed_connection_is_followed_by_exactly_one_more)
{
    library.fail(nop, {"SYSTEM", "OTHER", "1"}, 1);
    EXPECT_EQ(open(), 0);
    EXPECT_EQ(library.connections().size(), 2U);
}

struct LoginCase
{
    ScriptedLibrary::Error error;
    const char *message;
    const char *lastLogLine; ///< null for none of its own
    int attempts;
};

TEST_F(Portal, a_failed_login_is_told_and_the_password_cleared)
{
    const LoginCase cases[] = {
        {{"SYSTEM", "SECURITY", "101"}, "Bad user name.", "Bad user\n", 1},
        {{"SYSTEM", "SECURITY", "103"}, "Bad password.", "Bad password\n", 1},
        {{"SYSTEM", "OTHER", "1"}, "Cannot connect the server.", nullptr, 2},
    };
    for (const bool silent : {false, true}) {
        main->silent = silent;
        for (const LoginCase &each : cases) {
            Transcript::clear();
            main->password = L"secret";
            VrpsSetIdentPasswordToRegistry();
            library.fail(nop, each.error);
            EXPECT_EQ(open(), 1);
            const std::string box = silent ? "" : std::string("box critical ok ") + each.message + "\n";
            EXPECT_TRUE(Transcript::text().ends_with("close\n" + box + "close window\n"));
            EXPECT_EQ(boxes(), box);
            EXPECT_EQ(Transcript::count("open "), each.attempts);
            EXPECT_EQ(main->password, L"");
            EXPECT_EQ(stored(L"Settings", L"Password"), L"");
            EXPECT_EQ(stored(L"Settings", L"Identifier"), L"ident");
            EXPECT_TRUE(!each.lastLogLine || logText().ends_with(each.lastLogLine));
        }
    }
}

TEST_F(Portal, a_cancelled_connection_is_logged_and_shows_no_box)
{
    user.cancelAtRefresh(1);
    EXPECT_EQ(open(), 1);
    EXPECT_EQ(Transcript::text(), "window Connecting the server... -1\nrefresh\nclose window\n");
    EXPECT_TRUE(logText().ends_with("User canceled the operation\n"));
    EXPECT_EQ(main->password, L"secret");
}

class CancelledPortal : public Portal, public testing::WithParamInterface<std::tuple<int, bool>>
{};

TEST_P(CancelledPortal, ends_the_session_and_is_told_unless_the_run_is_silent)
{
    const auto [refresh, silent] = GetParam();
    main->silent = silent;
    user.cancelAtRefresh(refresh);
    EXPECT_EQ(open(), 1);
    const std::string box = silent ? "" : "box information ok Operation canceled by user.\n";
    EXPECT_TRUE(Transcript::text().ends_with("refresh\n" + std::string(sessionEnd) + box + "close window\n"));
    EXPECT_EQ(boxes(), box);
    EXPECT_EQ(Transcript::count("browser "), 0);
    EXPECT_EQ(main->password, L"secret");
}

INSTANTIATE_TEST_SUITE_P(AtRefresh, CancelledPortal,
                         testing::Combine(testing::Values(2, 3), testing::Bool()));

TEST_F(Portal, a_session_without_an_identifier_counts_as_no_connection)
{
    for (const bool silent : {false, true}) {
        Transcript::clear();
        main->silent = silent;
        library.fail(sessionQuery, {"LOCAL", "REQUEST", "131"});
        EXPECT_EQ(open(), 1);
        const std::string box = silent ? "" : "box critical ok Cannot connect the server.\n";
        EXPECT_TRUE(Transcript::text().ends_with(std::string(sessionEnd) + box + "close window\n"));
        EXPECT_EQ(boxes(), box);
        EXPECT_EQ(main->password, L"secret");
    }
}

TEST_F(Portal, a_file_identifier_that_cannot_be_handed_over_does_not_keep_the_page_closed)
{
    const char *unexamined[] = {"VR_CMD=|LOCAL:OBJECT:CREATE|", "VR_CMD=|LOCAL:OBJECT:STRING_SET_VALUE|",
                                "VR_CMD=|OBJECT:SEND|"};
    for (const char *command : unexamined) {
        Transcript::clear();
        library.fail(command, {"SYSTEM", "OTHER", "1"}, 1);
        EXPECT_EQ(open(), 0);
        EXPECT_EQ(Transcript::count("browser "), 1);
    }
}

TEST_F(Portal, a_browser_that_cannot_be_started_ends_the_session_without_a_message)
{
    user.browserStarts = false;
    EXPECT_EQ(open(), 1);
    EXPECT_TRUE(Transcript::text().ends_with("> VR_CLOSE_SESSION=|YES|\nclose window\nclose\n"));
    EXPECT_EQ(boxes(), "");
}

} // namespace
