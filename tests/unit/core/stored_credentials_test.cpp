// SPDX-License-Identifier: MIT
#include "vrp/settings/stored_credentials.h"

#include "tests/support/FreshMain.h"
#include "tests/support/SettingsFolder.h"
#include "vrp/encrypt.h"
#include "vrp/platform/text.h"
#include "vrp/settings/settings_store.h"

#include <gtest/gtest.h>

namespace {

class StoredCredentials : public testing::Test
{
protected:
    SettingsFolder m_settings;
    FreshMain m_main;

    void SetUp() override
    {
        copyBounded(m_main->company, L"Acme");
        copyBounded(m_main->softwareName, L"Print");
    }

    static std::wstring stored(const wchar_t *name, bool perUser = true)
    {
        return VrpsGetCompanyRegistryKey(L"Settings", name, L"absent", perUser);
    }

    static void store(const wchar_t *name, const wchar_t *value, bool perUser = true)
    {
        VrpsSetCompanyRegistryKey(L"Settings", name, value, perUser);
    }

    void setProxy(const wchar_t *server, int port, const wchar_t *user, const wchar_t *password)
    {
        m_main->proxyServer = server;
        m_main->proxyPort = port;
        m_main->proxyUser = user;
        m_main->proxyPassword = password;
    }
};

TEST_F(StoredCredentials, identifier_and_password_are_read_back)
{
    m_main->ident = L"ann";
    m_main->password = L"sécret";
    VrpsSetIdentPasswordToRegistry();
    m_main->ident = m_main->password = L"other";
    VrpsGetIdentPasswordFromRegistry();
    EXPECT_EQ(m_main->ident, L"ann");
    EXPECT_EQ(m_main->password, L"sécret");
}

TEST_F(StoredCredentials, a_password_is_never_stored_in_clear)
{
    m_main->ident = L"ann";
    m_main->password = L"open sesame";
    setProxy(L"proxy", 3128, L"bob", L"hush hush");
    VrpsSetIdentPasswordToRegistry();
    VrpsSetProxyToRegistry(false, false);
    QFile file(m_settings.file(QStringLiteral("Acme"), QStringLiteral("Print"), true));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray content = file.readAll();
    EXPECT_TRUE(content.contains("ann"));
    EXPECT_FALSE(content.contains("sesame"));
    EXPECT_FALSE(content.contains("hush"));
}

TEST_F(StoredCredentials, identifier_and_password_are_kept_per_user)
{
    m_main->ident = L"ann";
    VrpsSetIdentPasswordToRegistry();
    EXPECT_EQ(stored(L"Identifier", false), L"absent");
    EXPECT_EQ(stored(L"Password", false), L"absent");
}

TEST_F(StoredCredentials, an_empty_password_is_stored_as_its_empty_cipher_text)
{
    m_main->ident = L"ann";
    m_main->password = L"x";
    VrpsSetIdentPasswordToRegistry();
    EXPECT_NE(stored(L"Password"), L"");
    m_main->password.clear();
    VrpsSetIdentPasswordToRegistry();
    EXPECT_EQ(stored(L"Password"), L"");
    EXPECT_EQ(stored(L"Identifier"), L"ann");
}

TEST_F(StoredCredentials, a_password_is_loaded_only_beside_an_identifier)
{
    store(L"Identifier", L"");
    store(L"Password", VrpsEncryptPassword(L"secret").c_str());
    m_main->password = L"old";
    VrpsGetIdentPasswordFromRegistry();
    EXPECT_EQ(m_main->password, L"");
}

TEST_F(StoredCredentials, absent_ones_are_empty)
{
    m_main->ident = m_main->password = L"old";
    VrpsGetIdentPasswordFromRegistry();
    EXPECT_EQ(m_main->ident, L"");
    EXPECT_EQ(m_main->password, L"");
}

TEST_F(StoredCredentials, a_password_that_does_not_decipher_does_no_harm)
{
    store(L"Identifier", L"ann");
    for (const wchar_t *garbage : {L"x", L"5652", L"ZZZZ", L"56523130303030300011223344556677", L"a, b"}) {
        store(L"Password", garbage);
        VrpsGetIdentPasswordFromRegistry();
        EXPECT_EQ(m_main->ident, L"ann");
    }
}

TEST_F(StoredCredentials, the_proxy_is_read_back)
{
    m_main->ident = L"ann";
    setProxy(L"proxy.example", 3128, L"bob", L"hush");
    VrpsSetProxyToRegistry(false, false);
    setProxy(L"", 0, L"", L"");
    VrpsGetProxyFromRegistry(false);
    EXPECT_EQ(m_main->proxyServer, L"proxy.example");
    EXPECT_EQ(m_main->proxyPort, 3128);
    EXPECT_EQ(m_main->proxyUser, L"bob");
    EXPECT_EQ(m_main->proxyPassword, L"hush");
    EXPECT_EQ(stored(L"ProxyPort"), L"3128");
}

TEST_F(StoredCredentials, without_a_stored_proxy_there_is_none_on_port_8080)
{
    setProxy(L"old", 1, L"old", L"old");
    VrpsGetProxyFromRegistry(false);
    EXPECT_EQ(m_main->proxyServer, L"");
    EXPECT_EQ(m_main->proxyPort, 8080);
    EXPECT_EQ(m_main->proxyUser, L"");
    EXPECT_EQ(m_main->proxyPassword, L"");
}

TEST_F(StoredCredentials, without_a_loaded_identifier_no_proxy_password_is_loaded)
{
    setProxy(L"proxy", 3128, L"bob", L"hush");
    VrpsSetProxyToRegistry(false, false);
    m_main->ident.clear();
    VrpsGetProxyFromRegistry(false);
    EXPECT_EQ(m_main->proxyUser, L"bob");
    EXPECT_EQ(m_main->proxyPassword, L"");
}

TEST_F(StoredCredentials, machine_wide_there_are_only_server_and_port)
{
    m_main->ident = L"ann";
    setProxy(L"mine", 3128, L"bob", L"hush");
    VrpsSetProxyToRegistry(false, false);
    store(L"ProxyServer", L"site", false);
    store(L"ProxyPort", L"8888", false);
    store(L"ProxyUser", L"nobody", false);
    VrpsGetProxyFromRegistry(true);
    EXPECT_EQ(m_main->proxyServer, L"site");
    EXPECT_EQ(m_main->proxyPort, 8888);
    EXPECT_EQ(m_main->proxyUser, L"");
    EXPECT_EQ(m_main->proxyPassword, L"");
}

TEST_F(StoredCredentials, a_proxy_port_is_read_as_a_leading_number_and_a_negative_one_is_8080)
{
    for (const auto &[text, port] : {std::pair{L"3128", 3128}, std::pair{L"-1", 8080}, std::pair{L"abc", 0},
                                     std::pair{L"", 8080}, std::pair{L"80x", 80}, std::pair{L"0", 0}}) {
        store(L"ProxyPort", text);
        VrpsGetProxyFromRegistry(false);
        EXPECT_EQ(m_main->proxyPort, port) << wtoUTF8(text);
    }
}

TEST_F(StoredCredentials, storing_the_credentials_alone_leaves_server_and_port_untouched)
{
    setProxy(L"proxy", 3128, L"bob", L"hush");
    VrpsSetProxyToRegistry(false, false);
    setProxy(L"other", 1, L"eve", L"new");
    VrpsSetProxyToRegistry(true, false);
    EXPECT_EQ(stored(L"ProxyServer"), L"proxy");
    EXPECT_EQ(stored(L"ProxyPort"), L"3128");
    EXPECT_EQ(stored(L"ProxyUser"), L"eve");
    EXPECT_EQ(VrpsDecryptPassword(stored(L"ProxyPassword")), L"new");
}

TEST_F(StoredCredentials, forgetting_the_proxy_password_stores_an_empty_one_and_keeps_the_one_in_memory)
{
    setProxy(L"proxy", 3128, L"bob", L"hush");
    VrpsSetProxyToRegistry(false, false);
    VrpsSetProxyToRegistry(true, true);
    EXPECT_EQ(stored(L"ProxyPassword"), L"");
    EXPECT_EQ(stored(L"ProxyServer"), L"proxy");
    EXPECT_EQ(m_main->proxyPassword, L"hush");
}

} // namespace
