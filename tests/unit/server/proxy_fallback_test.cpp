// SPDX-License-Identifier: MIT
#include "vrp/server/proxy_fallback.h"

#include "tests/support/ServerTest.h"

namespace {

std::wstring askedUrl;
int timesAsked = 0;

bool namesNone(std::wstring &, int &, bool, const std::wstring &url)
{
    askedUrl = url;
    ++timesAsked;
    return false;
}

bool namesAnother(std::wstring &host, int &port, bool, const std::wstring &)
{
    host = L"other";
    port = 3128;
    return true;
}

class ProxyFallbackTest : public ServerTest
{
protected:
    ProxyFallbackTest()
    {
        timesAsked = 0;
        server.server = L"host";
        server.port = 2000;
        server.ssl = true;
    }

    ConnectionParameters server;
    const ProxySettings configured{L"proxy", 8080, L"pu", L"pp"};
};

TEST_F(ProxyFallbackTest, a_proxy_that_the_system_names_is_tried_without_the_credentials_of_the_other)
{
    ProxyFallback fallback(configured, namesAnother);
    fallback.attempt();
    ASSERT_TRUE(fallback.next(server));
    EXPECT_EQ(fallback.proxy().host, L"other");
    EXPECT_EQ(fallback.proxy().port, 3128);
    EXPECT_EQ(fallback.proxy().user, L"");
    EXPECT_EQ(fallback.proxy().password, L"");
    EXPECT_EQ(logText(), "Varek connection: try to get proxy information.\n"
                         "Varek connection: proxy detection brought new values: other:3128\n"
                         "Varek connection: try conenction with new proxy information.\n");
    EXPECT_TRUE(main->proxyDetectionDone);
}

TEST_F(ProxyFallbackTest, after_the_systems_proxy_comes_none_and_then_nothing)
{
    ProxyFallback fallback(configured, namesAnother);
    fallback.attempt();
    ASSERT_TRUE(fallback.next(server));
    fallback.attempt();
    ASSERT_TRUE(fallback.next(server));
    EXPECT_EQ(fallback.proxy().host, L"");
    EXPECT_EQ(fallback.proxy().port, 8080);
    fallback.attempt();
    EXPECT_FALSE(fallback.next(server));
    EXPECT_EQ(logText(), "Varek connection: try to get proxy information.\n"
                         "Varek connection: proxy detection brought new values: other:3128\n"
                         "Varek connection: try conenction with new proxy information.\n"
                         "Varek connection: try without proxy.\n"
                         "Varek connection: finally failed.\n");
}

TEST_F(ProxyFallbackTest, when_the_system_names_none_the_next_attempt_is_without_a_proxy)
{
    ProxyFallback fallback(configured, namesNone);
    fallback.attempt();
    ASSERT_TRUE(fallback.next(server));
    EXPECT_EQ(fallback.proxy().host, L"");
    EXPECT_EQ(fallback.proxy().user, L"");
    EXPECT_EQ(fallback.proxy().password, L"");
    EXPECT_EQ(logText(), "Varek connection: try to get proxy information.\n"
                         "Varek connection: no proxy information found from system.\n"
                         "Varek connection: try without proxy.\n");
}

TEST_F(ProxyFallbackTest, the_systems_answer_is_not_tried_again_when_it_is_the_configured_proxy)
{
    ProxyFallback fallback({L"other", 3128, L"pu", L"pp"}, namesAnother);
    fallback.attempt();
    ASSERT_TRUE(fallback.next(server));
    EXPECT_EQ(logText(), "Varek connection: try to get proxy information.\n"
                         "Varek connection: try without proxy.\n");
}

TEST_F(ProxyFallbackTest, the_same_host_on_another_port_is_a_new_proxy)
{
    ProxyFallback fallback({L"other", 8080, L"pu", L"pp"}, namesAnother);
    fallback.attempt();
    ASSERT_TRUE(fallback.next(server));
    EXPECT_EQ(fallback.proxy().port, 3128);
    EXPECT_EQ(fallback.proxy().user, L"");
}

TEST_F(ProxyFallbackTest, the_system_is_asked_once_in_a_run)
{
    ProxyFallback first(configured, namesNone);
    first.attempt();
    (void)first.next(server);
    ProxyFallback second(configured, namesNone);
    second.attempt();
    (void)second.next(server);
    EXPECT_EQ(timesAsked, 1);
}

TEST_F(ProxyFallbackTest, the_system_is_asked_for_an_address_on_the_server)
{
    ProxyFallback fallback(configured, namesNone);
    (void)fallback.next(server);
    EXPECT_EQ(askedUrl, L"https://host:2000/Config/blank.htm");
    main->proxyDetectionDone = false;
    server.ssl = false;
    (void)fallback.next(server);
    EXPECT_EQ(askedUrl, L"http://host:2000/Config/blank.htm");
}

TEST_F(ProxyFallbackTest, without_a_proxy_nothing_is_left_to_try)
{
    main->proxyDetectionDone = true;
    ProxyFallback fallback({}, namesNone);
    fallback.attempt();
    EXPECT_FALSE(fallback.next(server));
    EXPECT_EQ(logText(), "Varek connection: finally failed.\n");
}

} // namespace
