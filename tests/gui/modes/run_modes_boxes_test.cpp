// SPDX-License-Identifier: MIT
#include "tests/gui/modes/ModesTest.h"
#include "vrp/ui/ConfigDialog.h"

#include <QTemporaryDir>

namespace {

class RunModesBoxes : public ModesTest
{
protected:
    ShownBox m_shown;

    void installPrinter() const
    {
        SettingsFolder::registerPrinter(QStringLiteral("Office"), QStringLiteral("Acme"),
                                        QStringLiteral("Print"));
        SettingsFolder::write(
            m_settings.file(QStringLiteral("Acme"), QStringLiteral("Print"), false),
            "[Software]\nCompany=Acme\nName=Print\n[Printer]\nTitle=Office printer\nName=Other\n");
    }

    /// The text of the error box that a run of a mode shows.
    QString errorOf(const std::function<void()> &mode)
    {
        const PreparedAnswers answers({note(m_shown, QMessageBox::Ok)});
        mode();
        EXPECT_EQ(m_shown.icon, QMessageBox::Critical);
        return m_shown.text;
    }
};

TEST_F(RunModesBoxes, version_tells_the_internal_version)
{
    const PreparedAnswers answers({note(m_shown, QMessageBox::Ok)});
    EXPECT_TRUE(m_main->Version());
    EXPECT_EQ(m_shown.text, QStringLiteral("Virtual printer internal version = 3.00"));
    EXPECT_EQ(m_shown.title, QStringLiteral("Varek Printer"));
    EXPECT_EQ(m_shown.icon, QMessageBox::Information);
    EXPECT_EQ(m_shown.buttons, QMessageBox::Ok);
}

TEST_F(RunModesBoxes, help_and_configure_without_a_printer_say_so)
{
    FreshMain::setArguments({L"-m", L"help"});
    EXPECT_EQ(errorOf([&] { EXPECT_FALSE(m_main->Help()); }), QStringLiteral("No printer name given."));
    EXPECT_EQ(errorOf([&] { EXPECT_EQ(m_main->Configure(), 1); }), QStringLiteral("No printer name given."));
}

TEST_F(RunModesBoxes, help_configure_and_send_of_an_unknown_printer_say_so)
{
    FreshMain::setArguments({L"-p", L"Nowhere"});
    const QString text = QStringLiteral("The printer is not installed correctly.");
    EXPECT_EQ(errorOf([&] { EXPECT_FALSE(m_main->Help()); }), text);
    EXPECT_EQ(errorOf([&] { EXPECT_EQ(m_main->Configure(), 1); }), text);
    EXPECT_EQ(errorOf([&] { EXPECT_EQ(m_main->Send(), 1); }), text);
    EXPECT_EQ(m_main->messageWindow, nullptr);
}

TEST_F(RunModesBoxes, a_silent_run_shows_none)
{
    const PreparedAnswers nobody;
    m_main->silent = true;
    EXPECT_FALSE(m_main->Help());
    EXPECT_EQ(m_main->Configure(), 1);
    EXPECT_EQ(m_main->Send(), 1);
    FreshMain::setArguments({L"-p", L"Nowhere"});
    EXPECT_FALSE(m_main->Help());
    EXPECT_EQ(m_main->Configure(), 1);
    EXPECT_EQ(m_main->InitSend(), 1);
}

TEST_F(RunModesBoxes, a_send_alone_goes_on_without_a_window)
{
    m_main->silent = true;
    FreshMain::setArguments({L"-p", L"Nowhere"});
    EXPECT_EQ(m_main->Send(), 1);
    EXPECT_FALSE(QApplication::quitOnLastWindowClosed());
    EXPECT_EQ(m_main->Configure(), 1);
    EXPECT_TRUE(QApplication::quitOnLastWindowClosed());
    EXPECT_FALSE(m_main->Uninstall());
    EXPECT_TRUE(QApplication::quitOnLastWindowClosed());
}

TEST_F(RunModesBoxes, help_loads_the_texts_of_the_store_and_keeps_the_name_that_was_given)
{
    installPrinter();
    FreshMain::setArguments({L"-p", L"Office"});
    m_main->configFilePath[0] = L'x';
    EXPECT_TRUE(m_main->Help());
    EXPECT_STREQ(m_main->configFilePath, L"");
    EXPECT_STREQ(m_main->printerTitle, L"Office printer");
    EXPECT_STREQ(m_main->printerName, L"Office");
    EXPECT_STREQ(m_main->company, L"Acme");
}

TEST_F(RunModesBoxes, help_succeeds_also_with_an_address_that_cannot_be_opened)
{
    installPrinter();
    FreshMain::setArguments({L"-p", L"Office"});
    SettingsFolder::write(m_settings.file(QStringLiteral("Acme"), QStringLiteral("Print"), true),
                          "[Help]\nMain=ftp://print.example/help\n");
    const PreparedAnswers nobody;
    EXPECT_TRUE(m_main->Help());
}

TEST_F(RunModesBoxes, a_send_may_go_on_for_an_installed_printer)
{
    installPrinter();
    FreshMain::setArguments({L"-p", L"Office"});
    EXPECT_EQ(m_main->InitSend(), 0);
    EXPECT_STREQ(m_main->printerTitle, L"Office printer");
}

TEST_F(RunModesBoxes, the_last_printer_named_is_the_one_and_each_is_logged)
{
    const QTemporaryDir folder;
    const QString log = folder.filePath(QStringLiteral("run.log"));
    installPrinter();
    m_main->log.fileName = log.toStdWString();
    FreshMain::setArguments({L"-p", L"Nowhere", L"-p", L"Office"});
    EXPECT_EQ(m_main->InitSend(), 0);
    QFile file(log);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_TRUE(file.readAll().endsWith("\r\n\tNowhere\r\n\tOffice\r\n"));
}

TEST_F(RunModesBoxes, configure_shows_its_dialog_until_that_is_left)
{
    installPrinter();
    FreshMain::setArguments({L"-p", L"Office"});
    bool shown = false;
    QTimer::singleShot(0, [&] {
        for (QWidget *window : QApplication::topLevelWidgets()) {
            if (auto *dialog = qobject_cast<ConfigDialog *>(window)) {
                shown = dialog->isVisible() && !dialog->isModal();
                dialog->close();
            }
        }
    });
    EXPECT_EQ(m_main->Configure(), 0);
    EXPECT_TRUE(shown);
    EXPECT_STREQ(m_main->printerName, L"Office");
}

TEST_F(RunModesBoxes, clean_up_closes_the_log_and_the_configuration_file)
{
    const QTemporaryDir folder;
    m_main->log.fileName = folder.filePath(QStringLiteral("run.log")).toStdWString();
    m_main->log.Open();
    m_main->configSettings = openIniFile(L"/nonexistent/varek.ini").release();
    m_main->Cleanup();
    EXPECT_EQ(m_main->log.file, nullptr);
    EXPECT_EQ(m_main->configSettings, nullptr);
    m_main->Cleanup();
}

} // namespace
