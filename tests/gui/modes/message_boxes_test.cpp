// SPDX-License-Identifier: MIT
#include "vrp/ui/message_boxes.h"

#include "tests/gui/modes/ModesTest.h"
#include "vrp/core/resource_table.h"
#include "vrp/platform/text.h"
#include "vrp/settings/settings_store.h"

#include <QAccessible>
#include <QLabel>
#include <QTest>

#include <cerrno>

namespace {

class MessageBoxes : public ModesTest
{
protected:
    ShownBox m_shown;

    void SetUp() override { copyBounded(m_main->printerTitle, L"Office printer"); }

    /// The error box for an identifier and a code, with `number` as the last system error.
    ShownBox errorBox(const wchar_t *id, int code, int number = 0)
    {
        const PreparedAnswers answers({note(m_shown, QMessageBox::Ok)});
        errno = number;
        EXPECT_EQ(VrpsErrorMessage(id, code), 1);
        return m_shown;
    }
};

TEST_F(MessageBoxes, a_box_carries_title_text_icon_and_buttons)
{
    const PreparedAnswers answers({note(m_shown, QMessageBox::Yes)});
    EXPECT_EQ(VrpsMessageBox(L"Do you?", iconQuestion, buttonYes | buttonNo), buttonYes);
    EXPECT_EQ(m_shown.title, QStringLiteral("Office printer"));
    EXPECT_EQ(m_shown.text, QStringLiteral("Do you?"));
    EXPECT_EQ(m_shown.icon, QMessageBox::Question);
    EXPECT_EQ(m_shown.buttons, QMessageBox::Yes | QMessageBox::No);
}

TEST_F(MessageBoxes, the_pressed_button_is_the_result)
{
    const PreparedAnswers answers({note(m_shown, QMessageBox::No), note(m_shown, QMessageBox::Ok)});
    EXPECT_EQ(VrpsMessageBox(L"?", iconQuestion, buttonYes | buttonNo), 0x10000);
    EXPECT_EQ(VrpsMessageBox(L"!", iconInformation, buttonOk), 0x400);
}

TEST_F(MessageBoxes, escape_is_no_consent)
{
    const PreparedAnswers answers({[](QWidget &box) { QTest::keyClick(&box, Qt::Key_Escape); }});
    EXPECT_EQ(VrpsMessageBox(L"?", iconQuestion, buttonYes | buttonNo), buttonNo);
}

TEST_F(MessageBoxes, each_icon_is_the_toolkits)
{
    for (const auto &[icon, expected] :
         {std::pair{iconNone, QMessageBox::NoIcon}, std::pair{iconInformation, QMessageBox::Information},
          std::pair{iconWarning, QMessageBox::Warning}, std::pair{iconCritical, QMessageBox::Critical},
          std::pair{iconQuestion, QMessageBox::Question}}) {
        const PreparedAnswers answers({note(m_shown, QMessageBox::Ok)});
        VrpsMessageBox(L"text", icon, buttonOk);
        EXPECT_EQ(m_shown.icon, expected);
    }
}

TEST_F(MessageBoxes, each_icon_is_named_for_screen_readers)
{
    for (const auto &[icon, name] : {std::pair{iconInformation, "\u2139"}, std::pair{iconWarning, "\u26A0"},
                                     std::pair{iconCritical, "\u274C"}, std::pair{iconQuestion, "\u2753"}}) {
        QString heard;
        const PreparedAnswers answers({[&heard](QWidget &box) {
            auto *label = box.findChild<QLabel *>(QStringLiteral("qt_msgboxex_icon_label"));
            ASSERT_NE(label, nullptr);
            const QAccessibleInterface *picture = QAccessible::queryAccessibleInterface(label);
            EXPECT_FALSE(label->pixmap(Qt::ReturnByValue).isNull());
            heard = picture->text(QAccessible::Name);
            box.close();
        }});
        VrpsMessageBox(L"text", icon, buttonOk);
        EXPECT_EQ(heard, QString::fromUtf8(name));
    }
}

TEST_F(MessageBoxes, markup_is_shown_as_it_stands)
{
    const PreparedAnswers answers({[](QWidget &box) {
        const auto *label = box.findChild<QLabel *>(QStringLiteral("qt_msgbox_label"));
        ASSERT_NE(label, nullptr);
        EXPECT_EQ(label->textFormat(), Qt::PlainText);
        EXPECT_EQ(label->text(), QStringLiteral("<a href='http://evil'>Bad</a> user"));
        box.close();
    }});
    VrpsMessageBox(L"<a href='http://evil'>Bad</a> user", iconCritical, buttonOk);
}

TEST_F(MessageBoxes, a_box_for_an_identifier_shows_its_text)
{
    copyBounded(m_main->company, L"Acme");
    copyBounded(m_main->softwareName, L"Print");
    VrpsSetCompanyRegistryKey(L"Setup", L"InstallOk", L"Installation réussie.", false);
    const PreparedAnswers answers({note(m_shown, QMessageBox::Ok), note(m_shown, QMessageBox::Ok)});
    VrpsMessageBoxFromId(resource::setupInstallOk, iconInformation, buttonOk);
    EXPECT_EQ(m_shown.text, QStringLiteral("Installation réussie."));
    VrpsMessageBoxFromId(resource::setupUninstallOk, iconInformation, buttonOk);
    EXPECT_EQ(m_shown.text, QStringLiteral("The Varek printer has been removed"));
}

TEST_F(MessageBoxes, a_plain_error_is_shown_unchanged)
{
    const ShownBox box = errorBox(resource::errorsNoFileName, 0, ENOENT);
    EXPECT_EQ(box.text, QStringLiteral("No file name given."));
    EXPECT_EQ(box.icon, QMessageBox::Critical);
    EXPECT_EQ(box.buttons, QMessageBox::Ok);
}

TEST_F(MessageBoxes, an_error_code_stands_in_the_text)
{
    EXPECT_EQ(errorBox(resource::setupErrorsAddPrinterFailed, 13, ENOENT).text,
              QStringLiteral("AddPrinter() failed. Error = 13."));
}

TEST_F(MessageBoxes, code_minus_one_adds_number_and_description_of_the_last_system_error)
{
    EXPECT_EQ(errorBox(resource::setupErrorsErrorCopyFile, -1, ENOENT).text,
              QStringLiteral("Error copying file. Error = 2.\nNo such file or directory"));
}

TEST_F(MessageBoxes, the_system_description_follows_a_text_without_a_number_too)
{
    EXPECT_EQ(errorBox(resource::errorsBadFile, -1, EACCES).text,
              QStringLiteral("Bad file.\nPermission denied"));
}

TEST_F(MessageBoxes, an_error_text_of_a_file_is_no_format)
{
    EXPECT_EQ(errorBox(L"Errors;Hostile;%s%n%d %%", 5).text, QStringLiteral("%s%n5 %"));
}

TEST_F(MessageBoxes, a_very_long_error_text_is_cut)
{
    const std::wstring id = L"Errors;Long;" + std::wstring(20000, L'x');
    EXPECT_EQ(errorBox(id.c_str(), 0).text.size(), 16383);
}

} // namespace
