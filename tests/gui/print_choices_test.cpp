// SPDX-License-Identifier: MIT
#include "vrp/ui/print_choices.h"

#include "tests/gui/DialogTest.h"
#include "vrp/core/resource_table.h"
#include "vrp/ui/AskServiceDialog.h"
#include "vrp/ui/PrintModeDialog.h"

namespace {

class PrintModes : public DialogTest
{
protected:
    void offer(bool standard, bool async, bool tunnel)
    {
        m_run->standardModeOffered = standard;
        m_run->asyncModeOffered = async;
        m_run->tunnelModeOffered = tunnel;
    }

    static int checkedMode(const QWidget &dialog)
    {
        int mode = 0;
        mode += child<QRadioButton>(dialog, "standardButton").isChecked() ? 1 : 0;
        mode += child<QRadioButton>(dialog, "asyncButton").isChecked() ? 2 : 0;
        mode += child<QRadioButton>(dialog, "tunnelButton").isChecked() ? 4 : 0;
        return mode;
    }
};

class Services : public DialogTest
{
protected:
    static QComboBox &box(const QWidget &dialog) { return child<QComboBox>(dialog, "servicesBox"); }
};

TEST_F(PrintModes, are_not_asked_for_when_exactly_one_is_offered)
{
    const struct
    {
        bool standard, async, tunnel;
        int mode;
    } cases[] = {{true, false, false, 1}, {false, true, false, 2}, {false, false, true, 4}};

    for (const auto &c : cases) {
        offer(c.standard, c.async, c.tunnel);
        const PreparedAnswers none;
        EXPECT_EQ(VrpsAskPrintMode(), 0);
        EXPECT_EQ(m_run->printMode, c.mode);
        EXPECT_EQ(userSetting(L"LastMode"), std::to_wstring(c.mode));
    }
}

TEST_F(PrintModes, are_asked_for_when_several_are_offered)
{
    offer(true, true, true);
    setUserSetting(L"LastMode", L"2");
    const PreparedAnswers answers({[&](QWidget &dialog) {
        EXPECT_EQ(m_run->printMode, 0);
        EXPECT_EQ(checkedMode(dialog), 2);
        EXPECT_TRUE(QTest::qWaitForWindowActive(&dialog));
        QTest::keyClick(&child<QRadioButton>(dialog, "asyncButton"), Qt::Key_Down);
        EXPECT_EQ(checkedMode(dialog), 4);
        QTest::keyClick(&dialog, Qt::Key_Return);
    }});
    EXPECT_EQ(VrpsAskPrintMode(), 0);
    EXPECT_EQ(m_run->printMode, 4);
    EXPECT_EQ(userSetting(L"LastMode"), L"4");
}

TEST_F(PrintModes, are_stored_as_checked)
{
    offer(true, true, true);
    const std::pair<const char *, int> cases[] = {
        {"tunnelButton", 4}, {"asyncButton", 2}, {"standardButton", 1}};
    for (const auto &[name, mode] : cases) {
        const PreparedAnswers answers({[name = name](QWidget &dialog) {
            child<QRadioButton>(dialog, name).click();
            click(dialog, "okButton");
        }});
        EXPECT_EQ(VrpsAskPrintMode(), 0);
        EXPECT_EQ(m_run->printMode, mode);
        EXPECT_EQ(VrpsGetLastModeFromRegistry(), mode);
    }
}

TEST_F(PrintModes, stay_unchosen_when_the_dialog_is_cancelled)
{
    offer(true, false, true);
    setUserSetting(L"LastMode", L"4");
    m_run->log.fileName = QString2StdWString(m_settings.folder(true) + QStringLiteral("/log"));
    const PreparedAnswers answers({[](QWidget &dialog) { click(dialog, "cancelButton"); },
                                   [](QWidget &dialog) { QTest::keyClick(&dialog, Qt::Key_Escape); }});
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(VrpsAskPrintMode(), 1);
        EXPECT_EQ(m_run->printMode, 0);
        EXPECT_EQ(userSetting(L"LastMode"), L"4");
    }
    m_run->log.Close();
    QFile log(m_settings.folder(true) + QStringLiteral("/log"));
    ASSERT_TRUE(log.open(QIODevice::ReadOnly));
    EXPECT_EQ(log.readAll().count("User canceled the operation\r\n"), 2);
}

TEST_F(PrintModes, are_all_disabled_in_a_dialog_with_none_offered_and_the_last_one_stays_checked)
{
    setUserSetting(L"LastMode", L"2");
    const PreparedAnswers answers({[](QWidget &dialog) {
        for (const QRadioButton *each : dialog.findChildren<QRadioButton *>()) {
            EXPECT_FALSE(each->isEnabled());
            EXPECT_TRUE(each->isVisible());
        }
        EXPECT_EQ(checkedMode(dialog), 2);
        QTest::keyClick(&dialog, Qt::Key_Return);
    }});
    EXPECT_EQ(VrpsAskPrintMode(), 0);
    EXPECT_EQ(m_run->printMode, 2);
}

TEST_F(PrintModes, that_are_not_offered_are_disabled_and_still_shown)
{
    offer(true, false, true);
    setUserSetting(L"LastMode", L"2");
    PrintModeDialog dialog;
    dialog.show();
    EXPECT_TRUE(child<QRadioButton>(dialog, "standardButton").isEnabled());
    EXPECT_FALSE(child<QRadioButton>(dialog, "asyncButton").isEnabled());
    EXPECT_TRUE(child<QRadioButton>(dialog, "asyncButton").isVisible());
    EXPECT_EQ(checkedMode(dialog), 1);
}

TEST_F(PrintModes, preselect_standard_when_the_stored_mode_is_none_of_them)
{
    offer(true, true, true);
    for (const wchar_t *stored : {L"0", L"-3", L"3", L"7", L"nonsense", L"99999999999"}) {
        setUserSetting(L"LastMode", stored);
        EXPECT_EQ(checkedMode(PrintModeDialog()), 1) << stored;
    }
}

TEST_F(PrintModes, have_their_texts_and_take_configured_ones)
{
    expectTexts<PrintModeDialog>({
        {"title", resource::dlgPrintModeTitle, L"Varek print - mode"},
        {"headingLabel", resource::dlgPrintModeChooseText, L"Please choose the print mode:"},
        {"standardButton", resource::dlgPrintModeStandard, L"Standard"},
        {"standardLabel", resource::dlgPrintModeStandardText,
         L"Sends your file to the server and then opens your browser to adjust parameters."},
        {"asyncButton", resource::dlgPrintModeAsync, L"Asynchronous"},
        {"asyncLabel", resource::dlgPrintModeAsyncText,
         L"Sends your file to the server and let you manually open your browser to adjust parameters."},
        {"tunnelButton", resource::dlgPrintModeTunnel, L"Tunnel"},
        {"tunnelLabel", resource::dlgPrintModeTunnelText,
         L"Sends your file to the server. The parameters are then automatically adjusted by the server."},
        {"cancelButton", resource::dlgPrintModeCancelText, L"Cancel"},
        {"okButton", resource::dlgPrintModeOkText, L"Ok"},
        {"helpButton", resource::dlgPrintModeHelpText, L"Help"},
    });
}

TEST_F(PrintModes, stand_in_a_dialog_of_the_common_frame_and_the_stated_sizes)
{
    storeHelp(L"DlgPrintMode", L"http://mode/", false);
    PrintModeDialog dialog;
    expectFrame(dialog, "okButton");
    EXPECT_EQ(dialog.minimumSize(), QSize(470, 260));
    for (const char *name : {"standardButton", "asyncButton", "tunnelButton"}) {
        EXPECT_EQ(child<QRadioButton>(dialog, name).minimumWidth(), 150);
    }
    for (const char *name : {"standardLabel", "asyncLabel", "tunnelLabel"}) {
        EXPECT_EQ(child<QLabel>(dialog, name).minimumSize(), QSize(300, 50));
        EXPECT_TRUE(child<QLabel>(dialog, name).wordWrap());
    }
    dialog.show();
    expectOneBelowTheOther(dialog,
                           {"headingLabel", "standardLabel", "asyncLabel", "tunnelLabel", "cancelButton"});
    for (const std::string mode : {"standard", "async", "tunnel"}) {
        const QRect radio = child<QWidget>(dialog, (mode + "Button").c_str()).geometry();
        const QRect description = child<QWidget>(dialog, (mode + "Label").c_str()).geometry();
        EXPECT_LT(radio.right(), description.left()) << mode;
        EXPECT_TRUE(description.top() <= radio.center().y() && radio.center().y() <= description.bottom())
            << mode;
    }
    EXPECT_GE(child<QWidget>(dialog, "standardLabel").y() -
                  child<QWidget>(dialog, "headingLabel").geometry().bottom(),
              20);
    expectButtonRow(dialog, "cancelButton", "helpButton", "okButton");
    configure(resource::dlgPrintModePosition, L"1,2");
    EXPECT_EQ(PrintModeDialog().pos(), QPoint(1, 2));
}

TEST_F(PrintModes, have_their_own_help_address)
{
    EXPECT_TRUE(button(PrintModeDialog(), "helpButton").isHidden());
    storeHelp(L"DlgPrintMode", L"http://mode/", false);
    const PrintModeDialog dialog;
    EXPECT_FALSE(button(dialog, "helpButton").isHidden());
    click(dialog, "helpButton");
    EXPECT_EQ(standIns().openedAddresses, (std::vector<std::wstring>{L"http://mode/"}));
}

TEST_F(PrintModes, are_walked_by_tab_in_reading_order_and_described)
{
    offer(true, true, true);
    storeHelp(L"DlgPrintMode", L"http://mode/", false);
    PrintModeDialog dialog;
    dialog.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&dialog));
    EXPECT_EQ(tabOrder(dialog),
              (std::vector<std::string>{"standardButton", "cancelButton", "helpButton", "okButton"}));
    const auto &tunnel = child<QRadioButton>(dialog, "tunnelButton");
    EXPECT_EQ(tunnel.accessibleDescription(), child<QLabel>(dialog, "tunnelLabel").text());
    EXPECT_EQ(child<QLabel>(dialog, "tunnelLabel").buddy(), &tunnel);
}

TEST_F(Services, are_listed_in_order_by_their_second_field_with_the_last_one_selected)
{
    m_run->services = {L"1;Archive;a", L"2;Mail room;b", L"Whole row", L"3;Archive;c"};
    setUserSetting(L"LastService", L"3;Archive;c");
    const PreparedAnswers answers({[](QWidget &dialog) {
        const QComboBox &services = box(dialog);
        ASSERT_EQ(services.count(), 4);
        EXPECT_EQ(services.itemText(0), QStringLiteral("Archive"));
        EXPECT_EQ(services.itemText(1), QStringLiteral("Mail room"));
        EXPECT_EQ(services.itemText(2), QStringLiteral("Whole row"));
        EXPECT_EQ(services.currentIndex(), 3);
        QTest::keyClick(&box(dialog), Qt::Key_Up);
        QTest::keyClick(&box(dialog), Qt::Key_Up);
        QTest::keyClick(&dialog, Qt::Key_Return);
    }});
    EXPECT_EQ(VrpsAskService(), 0);
    EXPECT_EQ(m_run->service, L"2;Mail room;b");
    EXPECT_EQ(userSetting(L"LastService"), L"2;Mail room;b");
}

TEST_F(Services, begin_with_the_first_when_the_last_one_is_not_offered)
{
    m_run->services = {L"1;Archive;a", L"2;Mail room;b"};
    for (const wchar_t *last : {L"", L"Archive", L"9;Gone"}) {
        setUserSetting(L"LastService", last);
        const PreparedAnswers answers({[](QWidget &dialog) {
            EXPECT_EQ(box(dialog).currentIndex(), 0);
            QTest::keyClick(&dialog, Qt::Key_Escape);
        }});
        EXPECT_EQ(VrpsAskService(), 1);
        EXPECT_EQ(userSetting(L"LastService"), last);
    }
}

TEST_F(Services, give_an_empty_last_service_when_an_empty_list_is_accepted)
{
    setUserSetting(L"LastService", L"1;Archive;a");
    const PreparedAnswers answers({[](QWidget &dialog) { click(dialog, "okButton"); }});
    EXPECT_EQ(VrpsAskService(), 0);
    EXPECT_EQ(m_run->service, L"");
    EXPECT_EQ(userSetting(L"LastService"), L"");
}

TEST_F(Services, are_logged_when_cancelled)
{
    m_run->log.fileName = QString2StdWString(m_settings.folder(true) + QStringLiteral("/log"));
    const PreparedAnswers answers({[](QWidget &dialog) { click(dialog, "cancelButton"); }});
    EXPECT_EQ(VrpsAskService(), 1);
    m_run->log.Close();
    QFile log(m_settings.folder(true) + QStringLiteral("/log"));
    ASSERT_TRUE(log.open(QIODevice::ReadOnly));
    EXPECT_TRUE(log.readAll().endsWith("User canceled the operation\r\n"));
}

TEST_F(Services, have_their_texts_and_take_configured_ones)
{
    expectTexts<AskServiceDialog>({
        {"title", resource::dlgServiceTitle, L"Varek print - service"},
        {"headingLabel", resource::dlgServiceChooseText, L"Please choose the service:"},
        {"cancelButton", resource::dlgServiceCancelText, L"Cancel"},
        {"okButton", resource::dlgServiceOkText, L"Ok"},
        {"helpButton", resource::dlgServiceHelpText, L"Help"},
    });
}

TEST_F(Services, stand_in_a_dialog_of_the_common_frame_and_the_stated_size)
{
    AskServiceDialog dialog;
    expectFrame(dialog, "okButton");
    EXPECT_EQ(dialog.minimumSize(), QSize(300, 180));
    dialog.show();
    EXPECT_EQ(child<QLabel>(dialog, "headingLabel").buddy(), &box(dialog));
    EXPECT_TRUE(button(dialog, "helpButton").isHidden());
    configure(resource::dlgServicePosition, L"1,2");
    storeHelp(L"DlgService", L"http://service/", true);
    const AskServiceDialog other;
    EXPECT_EQ(other.pos(), QPoint(1, 2));
    click(other, "helpButton");
    EXPECT_EQ(standIns().openedAddresses, (std::vector<std::wstring>{L"http://service/"}));
}

TEST_F(Services, stand_below_their_heading_and_above_the_buttons)
{
    storeHelp(L"DlgService", L"http://service/", true);
    AskServiceDialog dialog;
    dialog.show();
    EXPECT_GE(box(dialog).y() - child<QLabel>(dialog, "headingLabel").geometry().bottom(), 20);
    expectButtonRow(dialog, "cancelButton", "helpButton", "okButton");
}

TEST_F(Services, do_not_widen_the_dialog_beyond_reason)
{
    m_run->services.assign(200, L"1;" + std::wstring(5000, L'W'));
    AskServiceDialog dialog;
    dialog.show();
    EXPECT_LT(dialog.width(), 1200);
}

} // namespace
