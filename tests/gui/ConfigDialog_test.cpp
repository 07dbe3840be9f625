// SPDX-License-Identifier: MIT
#include "vrp/ui/ConfigDialog.h"

#include "tests/gui/DialogTest.h"
#include "vrp/core/resource_table.h"
#include "vrp/encrypt.h"
#include "vrp/settings/stored_credentials.h"
#include "vrp/ui/configuration.h"

namespace {

class Configuration : public DialogTest
{
protected:
    static QString text(const QWidget &dialog, const char *edit)
    {
        return child<QLineEdit>(dialog, edit).text();
    }

    static void setMachineSetting(const wchar_t *name, const wchar_t *value)
    {
        VrpsSetCompanyRegistryKey(L"Settings", name, value, false);
    }

    static std::wstring machineSetting(const wchar_t *name)
    {
        return VrpsGetCompanyRegistryKey(L"Settings", name, L"(absent)", false);
    }

    /// Confirms the dialog after `change` has been made in it.
    static void confirmAfter(const PreparedAnswers::Answer &change)
    {
        const PreparedAnswers answers({[&](QWidget &dialog) {
            change(dialog);
            QTest::keyClick(&dialog, Qt::Key_Return);
        }});
        EXPECT_FALSE(VrpsDisplayConfig()) << "accepted";
    }

    static void nothing(QWidget &) {}
};

TEST_F(Configuration, shows_the_users_settings)
{
    setUserSetting(L"Sdir", L"user:1082");
    setUserSetting(L"ProxyServer", L"proxy.user");
    setUserSetting(L"ProxyPort", L"3128");
    setMachineSetting(L"Sdir", L"machine:1082");
    setMachineSetting(L"ProxyServer", L"proxy.machine");
    setMachineSetting(L"ProxyPort", L"8081");
    const ConfigDialog dialog;
    EXPECT_EQ(text(dialog, "directoryEdit"), QStringLiteral("user:1082"));
    EXPECT_EQ(text(dialog, "proxyServerEdit"), QStringLiteral("proxy.user"));
    EXPECT_EQ(text(dialog, "proxyPortEdit"), QStringLiteral("3128"));
    EXPECT_FALSE(child<QCheckBox>(dialog, "unsavePasswordBox").isChecked());
    EXPECT_FALSE(child<QCheckBox>(dialog, "unsaveProxyPasswordBox").isChecked());
}

TEST_F(Configuration, shows_the_machines_directory_and_proxy_where_the_user_has_none)
{
    setUserSetting(L"ProxyPort", L"3128");
    setMachineSetting(L"Sdir", L"machine:1082");
    setMachineSetting(L"ProxyServer", L"proxy.machine");
    setMachineSetting(L"ProxyPort", L"8081");
    const ConfigDialog dialog;
    EXPECT_EQ(text(dialog, "directoryEdit"), QStringLiteral("machine:1082"));
    EXPECT_EQ(text(dialog, "proxyServerEdit"), QStringLiteral("proxy.machine"));
    EXPECT_EQ(text(dialog, "proxyPortEdit"), QStringLiteral("8081")) << "the port goes with the server";
}

TEST_F(Configuration, does_not_take_the_machines_port_for_the_users_server)
{
    setUserSetting(L"ProxyServer", L"proxy.user");
    setMachineSetting(L"ProxyPort", L"8081");
    EXPECT_EQ(text(ConfigDialog(), "proxyPortEdit"), QString());
}

TEST_F(Configuration, has_version_checking_on_unless_something_else_than_yes_is_stored)
{
    EXPECT_TRUE(child<QCheckBox>(ConfigDialog(), "checkVersionBox").isChecked());
    const std::pair<const wchar_t *, bool> cases[] = {
        {L"yes", true}, {L" Y e S ", true}, {L"no", false}, {L"true", false}, {L"", false}};
    for (const auto &[stored, checked] : cases) {
        setUserSetting(L"CheckVersion", stored);
        EXPECT_EQ(child<QCheckBox>(ConfigDialog(), "checkVersionBox").isChecked(), checked) << stored;
    }
}

TEST_F(Configuration, stores_what_was_entered)
{
    confirmAfter([](QWidget &dialog) {
        QTest::keyClicks(&child<QLineEdit>(dialog, "directoryEdit"), QStringLiteral("print.example:1082"));
        QTest::keyClicks(&child<QLineEdit>(dialog, "proxyServerEdit"), QStringLiteral("proxy.example"));
        QTest::keyClicks(&child<QLineEdit>(dialog, "proxyPortEdit"), QStringLiteral("abc"));
        child<QCheckBox>(dialog, "checkVersionBox").setChecked(false);
    });
    EXPECT_EQ(userSetting(L"Sdir"), L"print.example:1082");
    EXPECT_EQ(machineSetting(L"Sdir"), L"print.example:1082");
    EXPECT_EQ(userSetting(L"ProxyServer"), L"proxy.example");
    EXPECT_EQ(machineSetting(L"ProxyServer"), L"(absent)");
    EXPECT_EQ(userSetting(L"ProxyPort"), L"abc") << "stored as typed";
    EXPECT_EQ(userSetting(L"CheckVersion"), L"no");
    EXPECT_EQ(userSetting(L"Identifier"), L"(absent)");
    EXPECT_EQ(userSetting(L"ProxyUser"), L"(absent)");
    VrpsGetProxyFromRegistry(false);
    EXPECT_EQ(m_run->proxyPort, 0) << "a port that is no number reads as 0";
    confirmAfter([](QWidget &dialog) { child<QCheckBox>(dialog, "checkVersionBox").setChecked(true); });
    EXPECT_EQ(userSetting(L"CheckVersion"), L"yes");
}

TEST_F(Configuration, stores_an_empty_directory_in_both_scopes)
{
    setUserSetting(L"Sdir", L"user:1082");
    setMachineSetting(L"Sdir", L"machine:1082");
    confirmAfter([](QWidget &dialog) { child<QLineEdit>(dialog, "directoryEdit").clear(); });
    EXPECT_EQ(userSetting(L"Sdir"), L"");
    EXPECT_EQ(machineSetting(L"Sdir"), L"");
}

TEST_F(Configuration, forgets_identifier_and_password_when_asked_to)
{
    m_run->ident = L"ann";
    m_run->password = L"secret";
    VrpsSetIdentPasswordToRegistry();
    confirmAfter(nothing);
    EXPECT_EQ(userSetting(L"Identifier"), L"ann");
    confirmAfter([](QWidget &dialog) { child<QCheckBox>(dialog, "unsavePasswordBox").click(); });
    EXPECT_EQ(m_run->ident, L"");
    EXPECT_EQ(m_run->password, L"");
    EXPECT_EQ(userSetting(L"Identifier"), L"");
    EXPECT_EQ(VrpsDecryptPassword(userSetting(L"Password")), L"");
}

TEST_F(Configuration, forgets_the_proxy_credentials_by_clearing_the_fields_of_server_and_login_password)
{
    m_run->proxyUser = L"bob";
    m_run->proxyPassword = L"pw";
    VrpsSetProxyToRegistry(true, false);
    m_run->proxyUser.clear(); // configure mode never loads it
    m_run->proxyServer = L"in memory";
    m_run->password = L"login";
    confirmAfter([](QWidget &dialog) {
        QTest::keyClicks(&child<QLineEdit>(dialog, "proxyServerEdit"), QStringLiteral("proxy.example"));
        child<QCheckBox>(dialog, "unsaveProxyPasswordBox").click();
    });
    EXPECT_EQ(m_run->proxyServer, L"");
    EXPECT_EQ(m_run->password, L"");
    EXPECT_EQ(m_run->proxyPassword, L"pw");
    EXPECT_EQ(userSetting(L"ProxyUser"), L"");
    EXPECT_EQ(VrpsDecryptPassword(userSetting(L"ProxyPassword")), L"");
    EXPECT_EQ(userSetting(L"ProxyServer"), L"proxy.example");
}

TEST_F(Configuration, writes_nothing_when_it_is_cancelled)
{
    for (const PreparedAnswers::Answer &leave :
         {PreparedAnswers::Answer([](QWidget &dialog) { click(dialog, "cancelButton"); }),
          PreparedAnswers::Answer([](QWidget &dialog) { QTest::keyClick(&dialog, Qt::Key_Escape); }),
          PreparedAnswers::Answer([](QWidget &dialog) { dialog.close(); })}) {
        const PreparedAnswers answers({[&](QWidget &dialog) {
            QTest::keyClicks(&child<QLineEdit>(dialog, "directoryEdit"), QStringLiteral("typed"));
            child<QCheckBox>(dialog, "unsavePasswordBox").click();
            leave(dialog);
        }});
        EXPECT_TRUE(VrpsDisplayConfig()) << "rejected";
        EXPECT_EQ(userSetting(L"Sdir"), L"(absent)");
        EXPECT_EQ(userSetting(L"Identifier"), L"(absent)");
        EXPECT_EQ(userSetting(L"CheckVersion"), L"(absent)");
    }
}

TEST_F(Configuration, ends_the_event_loop_when_it_is_shown_without_a_loop_of_its_own_and_closed)
{
    QApplication::setQuitOnLastWindowClosed(true);
    for (const char *name : {"okButton", "cancelButton"}) {
        ConfigDialog dialog;
        dialog.show();
        QTimer timer;
        startOnce(timer, [&] { click(dialog, name); });
        EXPECT_EQ(QApplication::exec(), 0);
    }
    QApplication::setQuitOnLastWindowClosed(false);
    EXPECT_EQ(userSetting(L"CheckVersion"), L"yes");
}

TEST_F(Configuration, has_its_texts_and_takes_configured_ones)
{
    expectTexts<ConfigDialog>({
        {"title", resource::dlgConfigTitle, L"Varek print - configuration"},
        {"directoryLabel", resource::dlgConfigDirectoryText, L"Directory service:"},
        {"proxyServerLabel", resource::dlgConfigProxyServerText, L"Proxy server:"},
        {"proxyPortLabel", resource::dlgConfigProxyPortText, L"Port:"},
        {"checkVersionBox", resource::dlgConfigCheckVersionText, L"Enable version checking"},
        {"unsavePasswordBox", resource::dlgConfigUnsavePasswordText, L"Unsave identifier and password"},
        {"unsaveProxyPasswordBox", resource::dlgConfigUnsaveProxyPasswordText,
         L"Unsave proxy user and password"},
        {"okButton", resource::dlgConfigOkText, L"Ok"},
        {"helpButton", resource::dlgConfigHelpText, L"Help"},
        {"cancelButton", resource::dlgConfigCancelText, L"Cancel"},
    });
}

TEST_F(Configuration, shows_the_version_behind_its_text)
{
    EXPECT_EQ(shownText(ConfigDialog(), "versionLabel"), QStringLiteral("Version:1.00.000"));
    configure(resource::dlgConfigVersionText, L"Fassung ");
    configure(resource::softwareVersion, L"2.01.003");
    EXPECT_EQ(shownText(ConfigDialog(), "versionLabel"), QStringLiteral("Fassung 2.01.003"));
}

TEST_F(Configuration, has_the_common_frame_and_the_stated_size)
{
    ConfigDialog dialog;
    expectFrame(dialog, "okButton");
    EXPECT_EQ(dialog.minimumSize(), QSize(350, 270));
    dialog.show();
    EXPECT_EQ(child<QLabel>(dialog, "proxyPortLabel").maximumWidth(), 40);
    const int portWidth = child<QLineEdit>(dialog, "proxyPortEdit").maximumWidth();
    EXPECT_GE(portWidth, 80);
    EXPECT_LT(portWidth, 90) << "some toolkits need a little more for five digits";
    configure(resource::dlgConfigPosition, L"5,6");
    EXPECT_EQ(ConfigDialog().pos(), QPoint(5, 6));
}

TEST_F(Configuration, has_its_settings_one_below_the_other_and_cancel_alone_at_the_left)
{
    storeHelp(L"DlgConfig", L"http://help/", false);
    ConfigDialog dialog;
    dialog.resize(500, 400);
    dialog.show();
    expectOneBelowTheOther(dialog, {"directoryLabel", "directoryEdit", "proxyServerLabel", "proxyServerEdit",
                                    "proxyPortEdit", "checkVersionBox", "unsavePasswordBox",
                                    "unsaveProxyPasswordBox", "versionLabel", "okButton"});
    const QRect portLabel = child<QWidget>(dialog, "proxyPortLabel").geometry();
    const QRect portEdit = child<QWidget>(dialog, "proxyPortEdit").geometry();
    EXPECT_LT(portLabel.right(), portEdit.left());
    EXPECT_LT(std::abs(portLabel.center().y() - portEdit.center().y()), portEdit.height() / 2);
    expectButtonRow(dialog, "cancelButton", "helpButton", "okButton");
}

TEST_F(Configuration, shows_its_help_button_only_with_an_address_and_opens_it)
{
    EXPECT_TRUE(button(ConfigDialog(), "helpButton").isHidden());
    for (const bool perUser : {false, true}) {
        storeHelp(L"DlgConfig", perUser ? L"http://user/" : L"http://machine/", perUser);
        const ConfigDialog dialog;
        EXPECT_FALSE(button(dialog, "helpButton").isHidden());
        click(dialog, "helpButton");
        EXPECT_EQ(standIns().openedAddresses.back(), perUser ? L"http://user/" : L"http://machine/");
    }
}

TEST_F(Configuration, is_walked_by_tab_in_reading_order)
{
    storeHelp(L"DlgConfig", L"http://help/", false);
    ConfigDialog dialog;
    dialog.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&dialog));
    EXPECT_EQ(tabOrder(dialog),
              (std::vector<std::string>{"directoryEdit", "proxyServerEdit", "proxyPortEdit",
                                        "checkVersionBox", "unsavePasswordBox", "unsaveProxyPasswordBox",
                                        "cancelButton", "helpButton", "okButton"}));
    for (const char *edit : {"directory", "proxyServer", "proxyPort"}) {
        EXPECT_EQ(child<QLabel>(dialog, (std::string(edit) + "Label").c_str()).buddy(),
                  &child<QWidget>(dialog, (std::string(edit) + "Edit").c_str()));
    }
}

} // namespace
