// SPDX-License-Identifier: MIT
#include "tests/e2e/send/SendTest.h"
#include "tests/support/SquidProxy.h"
#include "vrp/settings/settings_store.h"

namespace {

class ThroughProxy : public SendTest
{
protected:
    static void useProxy(int port)
    {
        VrpsSetCompanyRegistryKey(L"Settings", L"ProxyServer", L"127.0.0.1", true);
        VrpsSetCompanyRegistryKey(L"Settings", L"ProxyPort", std::to_wstring(port).c_str(), true);
    }
};

TEST_F(ThroughProxy, a_document_arrives)
{
    const SquidProxy proxy;
    useProxy(proxy.port());
    const std::string document = makeDocument(incompressibleDocument(300'000));
    ASSERT_EQ(send(document), 0) << log();
    EXPECT_TRUE(storedEquals(document));
    EXPECT_EQ(Transcript::count("dialog proxy"), 0);
    EXPECT_NE(log().find("Server=\"proxy::http://127.0.0.1:" + std::to_string(proxy.port()) + "::"),
              std::string::npos);
    EXPECT_EQ(log().find("try without proxy"), std::string::npos);
}

TEST_F(ThroughProxy, credentials_are_asked_once_and_used)
{
    const SquidProxy proxy(SquidProxy::Authentication::basic, "proxyuser", "proxy-secret-1");
    useProxy(proxy.port());
    user.inProxyDialog = [this] {
        main->proxyUser = L"proxyuser";
        main->proxyPassword = L"proxy-secret-1";
        return 0;
    };
    const std::string document = makeDocument(incompressibleDocument(300'000));
    ASSERT_EQ(send(document), 0) << log();
    EXPECT_TRUE(storedEquals(document));
    EXPECT_EQ(Transcript::count("dialog proxy"), 1);
    EXPECT_EQ(VrpsGetCompanyRegistryKey(L"Settings", L"ProxyUser", L"", true), L"proxyuser");
    EXPECT_EQ(log().find("proxy-secret-1"), std::string::npos);
    EXPECT_EQ(socketLog().find("proxy-secret-1"), std::string::npos);
    EXPECT_NE(log().find("(proxyuser;****)::"), std::string::npos);
}

TEST_F(ThroughProxy, wrong_credentials_are_asked_again)
{
    const SquidProxy proxy(SquidProxy::Authentication::basic, "proxyuser", "proxy-secret-1");
    useProxy(proxy.port());
    int asked = 0;
    user.inProxyDialog = [&] {
        main->proxyUser = L"proxyuser";
        main->proxyPassword = ++asked == 1 ? L"wrong" : L"proxy-secret-1";
        return 0;
    };
    ASSERT_EQ(send(makeDocument("text\n")), 0) << log();
    EXPECT_EQ(asked, 2);
}

TEST_F(ThroughProxy, a_cancelled_proxy_dialog_ends_the_send)
{
    const SquidProxy proxy(SquidProxy::Authentication::basic, "proxyuser", "proxy-secret-1");
    useProxy(proxy.port());
    user.inProxyDialog = [] { return 1; };
    EXPECT_NE(send(makeDocument("text\n")), 0);
    EXPECT_EQ(boxes(), "");
    EXPECT_EQ(storedCount(), 0U);
}

TEST_F(ThroughProxy, a_proxy_that_is_gone_is_given_up)
{
    useProxy(1);
    ASSERT_EQ(send(makeDocument("text\n")), 0) << log();
    EXPECT_NE(log().find("Varek connection: proxy detection brought new values: :8080\r\n"),
              std::string::npos);
    EXPECT_EQ(VrpsGetCompanyRegistryKey(L"Settings", L"ProxyServer", L"(absent)", true), L"");
}

} // namespace
