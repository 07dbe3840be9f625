// SPDX-License-Identifier: MIT
#include "vrp/server/connection.h"

#include "tests/support/ServerTest.h"
#include "vrp/settings/stored_credentials.h"

#include <vrc.h>

namespace {

const ScriptedLibrary::Error unreachable{"LOCAL", "REQUEST", "103", "refused", ""};
const ScriptedLibrary::Error networkError{"LOCAL", "REQUEST", "104", "lost", ""};
const ScriptedLibrary::Error wantsCredentials{"LOCAL", "REQUEST", "113", "407", ""};
constexpr char nop[] = "VR_CMD=|MISC:NOP|";

constexpr char direct[] = "open Unicode=\"YES\" Server=\"host:1082\" Application=\"app\" User=\"user\" "
                          "Password=\"secret\" Ssl=\"YES\" ConnectionTimeOut=\"5\"\n";
constexpr char viaProxy[] = "open Unicode=\"YES\" Server=\"proxy::http://proxy:3128::host:1082\" "
                            "Application=\"app\" User=\"user\" Password=\"secret\" Ssl=\"YES\" "
                            "ConnectionTimeOut=\"5\"\n";

class Connection : public ServerTest
{
protected:
    std::int64_t connect(const std::wstring &loginArguments = {})
    {
        return VrpsConnectVarek(L"host", 1082, true, L"app", L"user", L"secret", L"", L"", loginArguments,
                                false, L"");
    }

    /// Connects and expects a handle, which is closed.
    void connectSuccessfully(const std::wstring &loginArguments = {})
    {
        void *request = VrpsRequestOf(connect(loginArguments));
        ASSERT_NE(request, nullptr);
        VrCloseRequest(request);
    }

    static void storeProxy(const wchar_t *host, const wchar_t *port, bool perUser = true)
    {
        VrpsSetCompanyRegistryKey(L"Settings", L"ProxyServer", host, perUser);
        VrpsSetCompanyRegistryKey(L"Settings", L"ProxyPort", port, perUser);
    }

    static std::string opens() { return Transcript::linesFrom("open "); }
};

TEST_F(Connection, the_test_command_proves_a_request)
{
    connectSuccessfully();
    EXPECT_EQ(Transcript::text(), std::string("refresh\n") + direct + "> VR_CMD=|MISC:NOP|\nclose\n");
    EXPECT_EQ(logText(), "Varek connection: Connecting on host:1082;app\n"
                         "Varek connection: Unicode=\"YES\" Server=\"host:1082\" Application=\"app\" "
                         "User=\"user\" Password=\"****\" Ssl=\"YES\" ConnectionTimeOut=\"5\"\n"
                         "Varek command: VR_CMD=|MISC:NOP| - Result buffer: \n"
                         " SUCCESS\n");
}

TEST_F(Connection, the_login_arguments_follow_the_test_command)
{
    connectSuccessfully(L"POD_USER=|u| POD_PASSWORD=|p w|");
    EXPECT_EQ(Transcript::linesFrom("> "), "> VR_CMD=|MISC:NOP| POD_USER=|u| POD_PASSWORD=|p w|\n");
    EXPECT_NE(logText().find("Varek command: VR_CMD=|MISC:NOP| POD_USER=|u| POD_PASSWORD=|****| - "),
              std::string::npos);
}

TEST_F(Connection, the_socket_log_is_part_of_the_connection_string)
{
    main->socketLogFile = L"/tmp/socket.log";
    connectSuccessfully();
    EXPECT_NE(opens().find(" SocketLog=\"/tmp/socket.log\" ConnectionTimeOut=\"5\""), std::string::npos);
}

TEST_F(Connection, a_string_that_cannot_be_parsed_fails_at_once)
{
    library.refuseToOpen();
    EXPECT_EQ(connect(), connectionFailed);
    EXPECT_EQ(Transcript::text(), std::string("refresh\n") + direct);
    EXPECT_EQ(logText(), "Varek connection: Connecting on host:1082;app\n"
                         "Varek request is NULL for: Unicode=\"YES\" Server=\"host:1082\" "
                         "Application=\"app\" User=\"user\" Password=\"****\" Ssl=\"YES\" "
                         "ConnectionTimeOut=\"5\"\n");
}

TEST_F(Connection, a_failed_attempt_asks_for_the_error_through_the_channel_and_closes_the_request)
{
    library.fail(nop, {"SYSTEM", "SECURITY", "101"});
    EXPECT_EQ(connect(), connectionBadUser);
    const std::string errorInfo = "> VR_CMD=|LOCAL:REQUEST:ERROR_INFO| ERROR_STRING=|";
    EXPECT_EQ(Transcript::text(),
              std::string("refresh\n") + direct + "> VR_CMD=|MISC:NOP|\n" // the channel's own questions:
                  + errorInfo + "SERVICE|\n" + errorInfo + "CLASS|\n" + errorInfo + "CODE|\n" + errorInfo +
                  "CODE|\n" + errorInfo + "DESCRIPTION|\n" + errorInfo + "INFO|\n" +
                  "refresh\n" // the connection's:
                  + errorInfo + "SERVICE|\n" + errorInfo + "CLASS|\n" + errorInfo + "CODE|\n" + "close\n");
    EXPECT_EQ(
        logText(),
        "Varek connection: Connecting on host:1082;app\n"
        "Varek connection: Unicode=\"YES\" Server=\"host:1082\" Application=\"app\" User=\"user\" "
        "Password=\"****\" Ssl=\"YES\" ConnectionTimeOut=\"5\"\n"
        "Varek command: VR_CMD=|MISC:NOP| - Error\n"
        "Varek error: SYSTEM:SECURITY:101:description:info:\n"
        " FAILED\n"
        "Varek command: VR_CMD=|LOCAL:REQUEST:ERROR_INFO| ERROR_STRING=|SERVICE| - Result buffer: SYSTEM\n"
        "Varek command: VR_CMD=|LOCAL:REQUEST:ERROR_INFO| ERROR_STRING=|CLASS| - Result buffer: SECURITY\n"
        "Varek command: VR_CMD=|LOCAL:REQUEST:ERROR_INFO| ERROR_STRING=|CODE| - Result buffer: 101\n");
    EXPECT_EQ(library.capacityOf("VR_CMD=|LOCAL:REQUEST:ERROR_INFO|"), 4 * 1024);
}

struct OutcomeCase
{
    ScriptedLibrary::Error error;
    std::int64_t outcome;
};

TEST_F(Connection, each_error_of_the_server_has_its_outcome)
{
    const OutcomeCase cases[] = {
        {{"SYSTEM", "SECURITY", "101"}, connectionBadUser},
        {{"System ", "security", "101"}, connectionBadUser},
        {{"SYSTEM", "SECURITY", "103"}, connectionBadPassword},
        {{"SYSTEM", "SECURITY", "102"}, connectionFailed},
        {{"LOCAL", "SECURITY", "101"}, connectionFailed},
        {{"LOCAL", "REQUEST", "120"}, connectionFailed},
        {{"", "", ""}, connectionFailed},
    };
    for (const OutcomeCase &each : cases) {
        library.fail(nop, each.error);
        EXPECT_EQ(connect(), each.outcome) << each.error.service << each.error.errorClass << each.error.code;
    }
    EXPECT_FALSE(main->proxyDetectionDone);
}

TEST_F(Connection, a_cancel_before_the_first_attempt_opens_nothing)
{
    user.cancelAtRefresh(1);
    EXPECT_EQ(connect(), connectionCancelled);
    EXPECT_EQ(Transcript::text(), "refresh\n");
}

TEST_F(Connection, a_cancel_after_a_failed_attempt_closes_the_request)
{
    user.cancelAtRefresh(2);
    library.fail(nop, unreachable);
    EXPECT_EQ(connect(), connectionCancelled);
    EXPECT_EQ(library.connections().size(), 1U);
    EXPECT_TRUE(Transcript::text().ends_with("refresh\nclose\n"));
}

TEST_F(Connection, a_cancel_between_two_attempts_ends_the_fallback)
{
    storeProxy(L"proxy", L"3128");
    user.cancelAtRefresh(3);
    library.fail(nop, unreachable);
    EXPECT_EQ(connect(), connectionCancelled);
    EXPECT_EQ(opens(), viaProxy);
}

TEST_F(Connection, the_option_b_shows_the_masked_connection_string)
{
    main->showConnectionErrors = true;
    library.fail(nop, {"SYSTEM", "SECURITY", "103"});
    connect();
    EXPECT_EQ(boxes(), "box information ok Unicode=\"YES\" Server=\"host:1082\" Application=\"app\" "
                       "User=\"user\" Password=\"****\" Ssl=\"YES\" ConnectionTimeOut=\"5\"\n");
}

TEST_F(Connection, the_box_of_the_option_b_comes_before_a_cancel_is_looked_for)
{
    main->showConnectionErrors = true;
    user.cancelAtRefresh(2);
    library.fail(nop, unreachable);
    EXPECT_EQ(connect(), connectionCancelled);
    EXPECT_EQ(Transcript::count("box information ok Unicode="), 1);
    EXPECT_TRUE(Transcript::text().ends_with("\nrefresh\nclose\n"));
}

TEST_F(Connection, the_option_s_suppresses_the_box_of_the_option_b)
{
    main->showConnectionErrors = true;
    main->silent = true;
    library.fail(nop, {"SYSTEM", "SECURITY", "103"});
    EXPECT_EQ(connect(), connectionBadPassword);
    EXPECT_EQ(boxes(), "");
}

TEST_F(Connection, an_empty_proxy_user_has_the_proxy_read_from_the_settings)
{
    storeProxy(L"proxy", L"3128");
    main->proxyServer = L"stale";
    connectSuccessfully();
    EXPECT_EQ(opens(), viaProxy);
    EXPECT_EQ(main->proxyServer, L"proxy");
    EXPECT_EQ(main->proxyPort, 3128);
}

TEST_F(Connection, the_machines_proxy_is_used_when_the_user_has_none)
{
    storeProxy(L"proxy", L"3128", false);
    connectSuccessfully();
    EXPECT_EQ(opens(), viaProxy);
}

TEST_F(Connection, a_loaded_proxy_user_keeps_the_loaded_proxy)
{
    storeProxy(L"stored", L"1");
    main->proxyServer = L"proxy";
    main->proxyPort = 3128;
    main->proxyUser = L"pu";
    main->proxyPassword = L"pp";
    connectSuccessfully();
    EXPECT_NE(opens().find("Server=\"proxy::http://proxy:3128(pu;pp)::host:1082\""), std::string::npos);
    EXPECT_EQ(logText().find("pu;pp"), std::string::npos);
    EXPECT_NE(logText().find("proxy:3128(pu;****)::"), std::string::npos);
}

TEST_F(Connection, a_successful_connection_stores_the_proxy)
{
    main->proxyServer = L"proxy";
    main->proxyPort = 3128;
    main->proxyUser = L"pu";
    main->proxyPassword = L"pp";
    connectSuccessfully();
    EXPECT_EQ(stored(L"Settings", L"ProxyServer"), L"proxy");
    EXPECT_EQ(stored(L"Settings", L"ProxyPort"), L"3128");
    EXPECT_EQ(stored(L"Settings", L"ProxyUser"), L"pu");
    EXPECT_NE(stored(L"Settings", L"ProxyPassword"), L"");
    EXPECT_EQ(stored(L"Settings", L"ProxyServer", false), L"(absent)");
}

TEST_F(Connection, the_proxy_password_is_stored_only_when_it_is_to_be_kept)
{
    main->ident = L"somebody"; // without an identifier no proxy password is read
    main->proxyUser = L"pu";
    main->proxyPassword = L"pp";
    main->saveProxyPassword = false;
    connectSuccessfully();
    VrpsGetProxyFromRegistry(false);
    EXPECT_EQ(main->proxyPassword, L"");

    main->proxyPassword = L"pp";
    main->saveProxyPassword = true;
    connectSuccessfully();
    VrpsGetProxyFromRegistry(false);
    EXPECT_EQ(main->proxyPassword, L"pp");
}

TEST_F(Connection, a_failed_connection_stores_no_proxy)
{
    library.fail(nop, unreachable);
    EXPECT_EQ(connect(), connectionFailed);
    EXPECT_EQ(stored(L"Settings", L"ProxyServer"), L"(absent)");
}

TEST_F(Connection, without_a_proxy_an_unreachable_server_fails_after_one_look_for_a_proxy)
{
    library.fail(nop, unreachable);
    EXPECT_EQ(connect(), connectionFailed);
    EXPECT_EQ(opens(), direct);
    EXPECT_TRUE(logText().ends_with("Varek connection: try to get proxy information.\n"
                                    "Varek connection: finally failed.\n"));
}

TEST_F(Connection, with_a_proxy_an_unreachable_server_is_tried_without_it)
{
    for (const ScriptedLibrary::Error &error : {unreachable, networkError}) {
        Transcript::clear();
        main->proxyDetectionDone = false;
        main->log.Remove();
        storeProxy(L"proxy", L"3128");
        library.fail(nop, error);
        EXPECT_EQ(connect(), connectionFailed);
        EXPECT_EQ(opens(), std::string(viaProxy) + direct);
        const std::string log = logText();
        const std::size_t detection =
            log.find("Varek connection: try to get proxy information.\n"
                     "Varek connection: proxy detection brought new values: :8080\n"
                     "Varek connection: try conenction with new proxy information.\n");
        EXPECT_NE(detection, std::string::npos) << log;
        EXPECT_TRUE(log.ends_with("Varek connection: finally failed.\n"));
        EXPECT_EQ(log.find("try without proxy"), std::string::npos);
        main->log.Close();
    }
}

TEST_F(Connection, a_second_connection_of_the_run_does_not_ask_the_system_again)
{
    storeProxy(L"proxy", L"3128");
    library.fail(nop, unreachable);
    connect();
    Transcript::clear();
    EXPECT_EQ(connect(), connectionFailed);
    EXPECT_EQ(opens(), std::string(viaProxy) + direct);
    EXPECT_TRUE(logText().ends_with("Varek connection: finally failed.\n"));
    EXPECT_NE(logText().find("Varek connection: try without proxy.\n"), std::string::npos);
    EXPECT_EQ(logText().find("try to get proxy"), logText().rfind("try to get proxy"));
}

TEST_F(Connection, a_server_that_answers_without_the_proxy_clears_the_stored_proxy)
{
    storeProxy(L"proxy", L"3128");
    library.fail(nop, unreachable, 1);
    connectSuccessfully();
    EXPECT_EQ(stored(L"Settings", L"ProxyServer"), L"");
    EXPECT_EQ(stored(L"Settings", L"ProxyPort"), L"8080");
    EXPECT_EQ(main->proxyServer, L"");
}

TEST_F(Connection, a_proxy_that_wants_credentials_gets_those_of_the_dialog)
{
    storeProxy(L"proxy", L"3128");
    library.fail(nop, wantsCredentials, 1);
    user.inProxyDialog = [this] {
        main->proxyUser = L"pu";
        main->proxyPassword = L"pp";
        return 0;
    };
    connectSuccessfully();
    EXPECT_EQ(opens(), std::string(viaProxy) +
                           "open Unicode=\"YES\" Server=\"proxy::http://proxy:3128(pu;pp)::host:1082\" "
                           "Application=\"app\" User=\"user\" Password=\"secret\" Ssl=\"YES\" "
                           "ConnectionTimeOut=\"5\"\n");
    EXPECT_NE(Transcript::text().find("close\ndialog proxy\nupdate window\nrefresh\nopen "),
              std::string::npos);
    EXPECT_EQ(logText().find("pu;pp"), std::string::npos);
}

TEST_F(Connection, the_dialog_comes_back_while_the_proxy_refuses)
{
    storeProxy(L"proxy", L"3128");
    library.fail(nop, wantsCredentials, 3);
    connectSuccessfully();
    EXPECT_EQ(Transcript::count("dialog proxy"), 3);
}

TEST_F(Connection, a_cancelled_proxy_dialog_cancels_the_connection)
{
    library.fail(nop, wantsCredentials);
    user.inProxyDialog = [] { return 1; };
    EXPECT_EQ(connect(), connectionCancelled);
    EXPECT_EQ(library.connections().size(), 1U);
}

TEST_F(Connection, line_ends_in_a_server_name_are_escaped_in_the_log)
{
    library.refuseToOpen();
    VrpsConnectVarek(L"ho\nst", 1, true, L"a\rb", L"", L"", L"", L"", L"", false, L"");
    EXPECT_TRUE(logText().starts_with("Varek connection: Connecting on ho\\nst:1;a\\rb\n"));
}

} // namespace
