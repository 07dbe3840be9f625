// SPDX-License-Identifier: MIT
#include "vrp/ui/credentials.h"

#include "tests/gui/DialogTest.h"
#include "vrp/core/resource_table.h"
#include "vrp/encrypt.h"
#include "vrp/settings/stored_credentials.h"
#include "vrp/ui/ProxyUserPasswordDialog.h"
#include "vrp/ui/UserPasswordDialog.h"

#include <QAccessible>
#include <QClipboard>

namespace {

class IdentifierDialog : public DialogTest
{
protected:
    static void keepCredentials(const wchar_t *ident, const wchar_t *password)
    {
        VrpsGetMain()->ident = ident;
        VrpsGetMain()->password = password;
        VrpsSetIdentPasswordToRegistry();
        VrpsGetMain()->ident.clear();
        VrpsGetMain()->password.clear();
    }

    /// What the settings hold, read back as the next send would.
    std::pair<std::wstring, std::wstring> storedCredentials()
    {
        const std::wstring ident = m_run->ident;
        const std::wstring password = m_run->password;
        VrpsGetIdentPasswordFromRegistry();
        std::pair stored(m_run->ident, m_run->password);
        m_run->ident = ident;
        m_run->password = password;
        return stored;
    }

    static void type(QWidget &dialog, const char *edit, const QString &text)
    {
        QTest::keyClicks(&child<QLineEdit>(dialog, edit), text);
    }

    QString loggedText()
    {
        m_run->log.Close();
        QFile file(m_logFolder.filePath(QStringLiteral("log")));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return QString::fromUtf8(file.readAll());
    }

    void openLog() { m_run->log.fileName = QString2StdWString(m_logFolder.filePath(QStringLiteral("log"))); }

    QTemporaryDir m_logFolder;
};

class ProxyDialog : public IdentifierDialog
{};

const PreparedAnswers::Answer pressEscape = [](QWidget &dialog) { QTest::keyClick(&dialog, Qt::Key_Escape); };
const PreparedAnswers::Answer pressEnter = [](QWidget &dialog) { QTest::keyClick(&dialog, Qt::Key_Return); };

TEST_F(IdentifierDialog, has_its_texts_and_takes_configured_ones)
{
    expectTexts<UserPasswordDialog>({
        {"title", resource::dlgIdentTitle, L"Varek print - identifier"},
        {"identLabel", resource::dlgIdentIdentText, L"Identifier:"},
        {"passwordLabel", resource::dlgIdentPasswordText, L"Password:"},
        {"keepPasswordBox", resource::dlgIdentKeepIdentText, L"Keep password for next connection"},
        {"cancelButton", resource::dlgIdentCancelText, L"Cancel"},
        {"okButton", resource::dlgIdentOkText, L"Ok"},
        {"helpButton", resource::dlgIdentHelpText, L"Help"},
    });
}

TEST_F(IdentifierDialog, has_the_common_frame_and_a_configured_position)
{
    expectFrame(UserPasswordDialog(), "okButton");
    configure(resource::dlgIdentPosition, L"33, 44");
    EXPECT_EQ(UserPasswordDialog().pos(), QPoint(33, 44));
}

TEST_F(IdentifierDialog, is_not_shown_when_identifier_and_password_are_kept)
{
    keepCredentials(L"ann", L"secret");
    const PreparedAnswers none;
    EXPECT_EQ(VrpsGetIdentPassword(), 0);
    EXPECT_EQ(m_run->ident, L"ann");
    EXPECT_EQ(m_run->password, L"secret");
    EXPECT_EQ(none.windows(), 0);
}

TEST_F(IdentifierDialog, stores_the_identifier_and_not_the_password_unless_it_is_to_be_kept)
{
    const PreparedAnswers answers({[](QWidget &dialog) {
        type(dialog, "identEdit", QStringLiteral("ann"));
        type(dialog, "passwordEdit", QStringLiteral("geheim"));
        click(dialog, "okButton");
    }});
    EXPECT_EQ(VrpsGetIdentPassword(), 0);
    EXPECT_EQ(m_run->ident, L"ann");
    EXPECT_EQ(m_run->password, L"geheim") << "the current send uses the typed password";
    EXPECT_EQ(storedCredentials(), std::pair(std::wstring(L"ann"), std::wstring()));
}

TEST_F(IdentifierDialog, stores_the_password_when_it_is_to_be_kept)
{
    const PreparedAnswers answers({[](QWidget &dialog) {
        type(dialog, "identEdit", QStringLiteral("ann"));
        type(dialog, "passwordEdit", QStringLiteral("geheim"));
        click(dialog, "keepPasswordBox");
        QTest::keyClick(&dialog, Qt::Key_Return);
    }});
    EXPECT_EQ(VrpsGetIdentPassword(), 0);
    EXPECT_EQ(storedCredentials(), std::pair(std::wstring(L"ann"), std::wstring(L"geheim")));
}

TEST_F(IdentifierDialog, comes_back_with_the_identifier_until_both_fields_are_filled)
{
    const PreparedAnswers answers({
        [](QWidget &dialog) {
            type(dialog, "identEdit", QStringLiteral("ann"));
            QTest::keyClick(&dialog, Qt::Key_Return);
        },
        [](QWidget &dialog) {
            EXPECT_EQ(child<QLineEdit>(dialog, "identEdit").text(), QStringLiteral("ann"));
            EXPECT_EQ(child<QLineEdit>(dialog, "passwordEdit").text(), QString());
            child<QLineEdit>(dialog, "identEdit").clear();
            type(dialog, "passwordEdit", QStringLiteral("pw"));
            QTest::keyClick(&dialog, Qt::Key_Return);
        },
        [](QWidget &dialog) {
            EXPECT_EQ(child<QLineEdit>(dialog, "passwordEdit").text(), QString());
            type(dialog, "identEdit", QStringLiteral("ann"));
            type(dialog, "passwordEdit", QStringLiteral("pw"));
            QTest::keyClick(&dialog, Qt::Key_Enter);
        },
    });
    EXPECT_EQ(VrpsGetIdentPassword(), 0);
    EXPECT_EQ(answers.windows(), 3);
    EXPECT_EQ(m_run->password, L"pw");
}

TEST_F(IdentifierDialog, ends_the_send_when_it_is_cancelled_and_clears_the_stored_password)
{
    for (const PreparedAnswers::Answer &answer :
         {pressEscape, PreparedAnswers::Answer([](QWidget &dialog) { click(dialog, "cancelButton"); })}) {
        keepCredentials(L"", L"leftover");
        openLog();
        const PreparedAnswers answers({answer});
        EXPECT_EQ(VrpsGetIdentPassword(), 1);
        EXPECT_TRUE(loggedText().endsWith(QStringLiteral("User canceled the operation\r\n")));
        EXPECT_EQ(VrpsDecryptPassword(userSetting(L"Password")), L"");
        EXPECT_EQ(m_run->password, L"");
    }
}

TEST_F(IdentifierDialog, has_no_keeping_where_the_text_ends_with_the_disable_mark)
{
    configure(resource::dlgIdentKeepIdentText, L"Passwords are not kept here(disable)");
    const UserPasswordDialog dialog;
    const auto &box = child<QCheckBox>(dialog, "keepPasswordBox");
    EXPECT_EQ(box.text(), QStringLiteral("Passwords are not kept here"));
    EXPECT_FALSE(box.isEnabled());
    EXPECT_FALSE(box.isChecked());
}

TEST_F(IdentifierDialog, keeps_a_disable_mark_that_is_not_at_the_end)
{
    configure(resource::dlgIdentKeepIdentText, L"Keep (disable) it");
    const UserPasswordDialog dialog;
    EXPECT_EQ(child<QCheckBox>(dialog, "keepPasswordBox").text(), QStringLiteral("Keep (disable) it"));
    EXPECT_TRUE(child<QCheckBox>(dialog, "keepPasswordBox").isEnabled());
}

TEST_F(IdentifierDialog, has_no_help_button_without_an_address)
{
    EXPECT_TRUE(button(UserPasswordDialog(), "helpButton").isHidden());
    EXPECT_TRUE(button(ProxyUserPasswordDialog(), "helpButton").isHidden());
}

TEST_F(IdentifierDialog, opens_the_users_help_address_before_the_machines)
{
    storeHelp(L"DlgIdent", L"http://machine/", false);
    const PreparedAnswers answers({[](QWidget &dialog) {
        click(dialog, "helpButton");
        storeHelp(L"DlgIdent", L"http://user/", true);
        click(dialog, "helpButton");
        EXPECT_TRUE(dialog.isVisible());
        QTest::keyClick(&dialog, Qt::Key_Escape);
    }});
    EXPECT_EQ(VrpsGetIdentPassword(), 1);
    EXPECT_EQ(standIns().openedAddresses, (std::vector<std::wstring>{L"http://machine/", L"http://user/"}));
}

TEST_F(IdentifierDialog, is_walked_by_tab_in_reading_order_from_the_first_empty_field)
{
    storeHelp(L"DlgIdent", L"http://help/", false);
    UserPasswordDialog empty;
    EXPECT_EQ(empty.focusWidget()->objectName(), QStringLiteral("identEdit"));
    m_run->ident = L"ann";
    UserPasswordDialog dialog;
    dialog.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&dialog));
    EXPECT_EQ(tabOrder(dialog), (std::vector<std::string>{"passwordEdit", "keepPasswordBox", "cancelButton",
                                                          "helpButton", "okButton", "identEdit"}));
    EXPECT_EQ(child<QLabel>(dialog, "identLabel").buddy(), &child<QWidget>(dialog, "identEdit"));
    EXPECT_EQ(child<QLabel>(dialog, "passwordLabel").buddy(), &child<QWidget>(dialog, "passwordEdit"));
}

TEST_F(IdentifierDialog, has_its_fields_below_their_labels_and_cancel_alone_at_the_left)
{
    storeHelp(L"DlgIdent", L"http://help/", false);
    UserPasswordDialog dialog;
    dialog.resize(500, 300);
    dialog.show();
    expectOneBelowTheOther(dialog, {"identLabel", "identEdit", "passwordLabel", "passwordEdit",
                                    "keepPasswordBox", "cancelButton"});
    expectButtonRow(dialog, "cancelButton", "helpButton", "okButton");
}

TEST_F(IdentifierDialog, gives_its_password_to_no_assistive_tool)
{
    const UserPasswordDialog dialog;
    auto &edit = child<QLineEdit>(dialog, "passwordEdit");
    EXPECT_EQ(edit.echoMode(), QLineEdit::Password);
    QTest::keyClicks(&edit, QStringLiteral("geheim"));
    edit.selectAll();
    edit.copy();
    EXPECT_NE(QApplication::clipboard()->text(), QStringLiteral("geheim"));
    QAccessibleInterface *accessible = QAccessible::queryAccessibleInterface(&edit);
    ASSERT_NE(accessible, nullptr);
    EXPECT_EQ(accessible->textInterface(), nullptr) << "typed characters would be reported in clear";
    EXPECT_EQ(accessible->editableTextInterface(), nullptr);
    EXPECT_TRUE(accessible->state().passwordEdit);
    EXPECT_EQ(accessible->role(), QAccessible::EditableText);
    EXPECT_EQ(accessible->text(QAccessible::Name), QStringLiteral("Password:"));
    EXPECT_EQ(accessible->text(QAccessible::Value), QStringLiteral("******"));
    accessible->setText(QAccessible::Value, QStringLiteral("typed for the user"));
    EXPECT_EQ(edit.text(), QStringLiteral("typed for the user"));
}

TEST_F(ProxyDialog, has_its_texts_and_takes_configured_ones)
{
    expectTexts<ProxyUserPasswordDialog>({
        {"title", resource::dlgProxyTitle, L"Varek print - proxy"},
        {"userLabel", resource::dlgProxyUserText, L"Proxy user:"},
        {"passwordLabel", resource::dlgProxyPasswordText, L"Proxy password:"},
        {"keepPasswordBox", resource::dlgProxyKeepPasswordText, L"Keep password for next connection"},
        {"cancelButton", resource::dlgProxyCancelText, L"Cancel"},
        {"okButton", resource::dlgProxyOkText, L"Ok"},
        {"helpButton", resource::dlgProxyHelpText, L"Help"},
    });
}

TEST_F(ProxyDialog, has_the_common_frame_and_a_configured_position)
{
    expectFrame(ProxyUserPasswordDialog(), "okButton");
    configure(resource::dlgProxyPosition, L"33, 44");
    EXPECT_EQ(ProxyUserPasswordDialog().pos(), QPoint(33, 44));
}

TEST_F(ProxyDialog, has_its_fields_below_their_labels_and_cancel_alone_at_the_left)
{
    storeHelp(L"DlgIdent", L"http://help/", false);
    ProxyUserPasswordDialog dialog;
    dialog.resize(500, 300);
    dialog.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&dialog));
    expectOneBelowTheOther(dialog, {"userLabel", "userEdit", "passwordLabel", "passwordEdit",
                                    "keepPasswordBox", "cancelButton"});
    expectButtonRow(dialog, "cancelButton", "helpButton", "okButton");
    EXPECT_EQ(tabOrder(dialog), (std::vector<std::string>{"userEdit", "passwordEdit", "keepPasswordBox",
                                                          "cancelButton", "helpButton", "okButton"}));
}

TEST_F(ProxyDialog, clears_the_login_password_and_the_stored_proxy_password_before_it_asks)
{
    m_run->password = L"login";
    m_run->proxyUser = L"bob";
    m_run->proxyPassword = L"old";
    VrpsSetProxyToRegistry(true, false);
    const PreparedAnswers answers({[&](QWidget &dialog) {
        EXPECT_EQ(m_run->password, L"");
        EXPECT_EQ(m_run->proxyPassword, L"old");
        EXPECT_EQ(VrpsDecryptPassword(userSetting(L"ProxyPassword")), L"");
        EXPECT_EQ(child<QLineEdit>(dialog, "userEdit").text(), QStringLiteral("bob"));
        EXPECT_EQ(child<QLineEdit>(dialog, "passwordEdit").text(), QString());
        EXPECT_FALSE(child<QCheckBox>(dialog, "keepPasswordBox").isChecked());
        pressEscape(dialog);
    }});
    openLog();
    EXPECT_EQ(VrpsAskProxy(), 1);
    EXPECT_TRUE(loggedText().endsWith(QStringLiteral("User canceled the operation\r\n")));
}

TEST_F(ProxyDialog, stores_the_password_only_when_it_is_to_be_kept)
{
    for (const bool keep : {false, true}) {
        m_run->proxyUser.clear();
        const PreparedAnswers answers({[keep](QWidget &dialog) {
            type(dialog, "userEdit", QStringLiteral("bob"));
            type(dialog, "passwordEdit", QStringLiteral("pw"));
            child<QCheckBox>(dialog, "keepPasswordBox").setChecked(keep);
            pressEnter(dialog);
        }});
        EXPECT_EQ(VrpsAskProxy(), 0);
        EXPECT_EQ(m_run->proxyUser, L"bob");
        EXPECT_EQ(m_run->proxyPassword, L"pw");
        EXPECT_EQ(m_run->saveProxyPassword, keep);
        EXPECT_EQ(userSetting(L"ProxyUser"), L"bob");
        EXPECT_EQ(VrpsDecryptPassword(userSetting(L"ProxyPassword")), keep ? L"pw" : L"");
        EXPECT_EQ(userSetting(L"ProxyServer"), L"(absent)") << "server and port are left alone";
    }
}

TEST_F(ProxyDialog, accepts_empty_fields)
{
    const PreparedAnswers answers({pressEnter});
    EXPECT_EQ(VrpsAskProxy(), 0);
}

TEST_F(ProxyDialog, shows_its_help_button_with_the_identifier_dialogs_address_and_opens_its_own)
{
    storeHelp(L"DlgProxy", L"http://proxy/", true);
    EXPECT_TRUE(button(ProxyUserPasswordDialog(), "helpButton").isHidden());
    storeHelp(L"DlgIdent", L"http://ident/", false);
    const ProxyUserPasswordDialog dialog;
    EXPECT_FALSE(button(dialog, "helpButton").isHidden());
    click(dialog, "helpButton");
    EXPECT_EQ(standIns().openedAddresses, (std::vector<std::wstring>{L"http://proxy/"}));
}

TEST_F(ProxyDialog, opens_nothing_when_only_the_identifier_dialog_has_an_address)
{
    storeHelp(L"DlgIdent", L"http://ident/", false);
    const ProxyUserPasswordDialog dialog;
    click(dialog, "helpButton");
    EXPECT_TRUE(standIns().openedAddresses.empty());
}

TEST_F(ProxyDialog, has_its_focus_in_the_first_empty_field_and_hides_its_password)
{
    EXPECT_EQ(ProxyUserPasswordDialog().focusWidget()->objectName(), QStringLiteral("userEdit"));
    m_run->proxyUser = L"bob";
    const ProxyUserPasswordDialog dialog;
    EXPECT_EQ(dialog.focusWidget()->objectName(), QStringLiteral("passwordEdit"));
    auto &edit = child<QLineEdit>(dialog, "passwordEdit");
    EXPECT_EQ(edit.echoMode(), QLineEdit::Password);
    EXPECT_EQ(QAccessible::queryAccessibleInterface(&edit)->textInterface(), nullptr);
}

} // namespace
