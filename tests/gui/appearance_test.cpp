// SPDX-License-Identifier: MIT
#include "tests/gui/dialog_test.h"
#include "vrp/core/resource_table.h"
#include "vrp/ui/AskServiceDialog.h"
#include "vrp/ui/AskUpdateDialog.h"
#include "vrp/ui/ConfigDialog.h"
#include "vrp/ui/PrintModeDialog.h"
#include "vrp/ui/ProxyUserPasswordDialog.h"
#include "vrp/ui/UserPasswordDialog.h"

#include <QScreen>

#include <memory>

namespace {

/// How every dialog looks under other texts, fonts, reading directions and positions.
class Appearance : public DialogTest
{
protected:
    ~Appearance() override
    {
        QApplication::setFont(m_font);
        QApplication::setLayoutDirection(Qt::LeftToRight);
    }

    static std::vector<std::unique_ptr<QDialog>> everyDialog()
    {
        std::vector<std::unique_ptr<QDialog>> dialogs;
        dialogs.push_back(std::make_unique<UserPasswordDialog>());
        dialogs.push_back(std::make_unique<ProxyUserPasswordDialog>());
        dialogs.push_back(std::make_unique<PrintModeDialog>());
        dialogs.push_back(std::make_unique<AskServiceDialog>());
        dialogs.push_back(std::make_unique<AskUpdateDialog>());
        dialogs.push_back(std::make_unique<ConfigDialog>());
        return dialogs;
    }

    static void expectEveryDialogWhole()
    {
        for (const std::unique_ptr<QDialog> &dialog : everyDialog()) {
            dialog->show();
            ASSERT_TRUE(QTest::qWaitForWindowExposed(dialog.get()));
            SCOPED_TRACE(qPrintable(dialog->windowTitle()));
            expectNothingCut(*dialog);
            dialog->resize(dialog->minimumSize());
            QCoreApplication::processEvents();
            expectNothingCut(*dialog);
        }
    }

    /// Makes the texts of every dialog twice as long.
    static void doubleTexts()
    {
        for (const wchar_t *id : resource::installed) {
            const std::wstring whole = id;
            const std::wstring text = whole.substr(whole.find(L';', whole.find(L';') + 1) + 1);
            if (whole.rfind(L"Dlg", 0) == 0 && whole.find(L";Position;") == std::wstring::npos) {
                std::wstring twice = text;
                configure(id, twice.append(L" ").append(text));
            }
        }
    }

    QFont m_font = QApplication::font();
};

TEST_F(Appearance, nothing_is_cut_with_the_default_texts)
{
    expectEveryDialogWhole();
}

TEST_F(Appearance, nothing_is_cut_with_texts_twice_as_long)
{
    doubleTexts();
    expectEveryDialogWhole();
}

TEST_F(Appearance, nothing_is_cut_with_a_font_half_as_large_again)
{
    QFont large = m_font;
    large.setPointSizeF(m_font.pointSizeF() * 1.5);
    QApplication::setFont(large);
    expectEveryDialogWhole();
    doubleTexts();
    expectEveryDialogWhole();
}

TEST_F(Appearance, every_dialog_is_mirrored_where_people_read_from_right_to_left)
{
    QApplication::setLayoutDirection(Qt::RightToLeft);
    for (const std::unique_ptr<QDialog> &dialog : everyDialog()) {
        dialog->show();
        const QWidget &cancel = button(*dialog, "cancelButton");
        const QWidget &confirm = button(
            *dialog, dialog->findChild<QPushButton *>(QStringLiteral("okButton")) ? "okButton" : "yesButton");
        EXPECT_GT(cancel.x(), confirm.x()) << qPrintable(dialog->windowTitle());
        expectNothingCut(*dialog);
    }
}

TEST_F(Appearance, a_dialog_placed_beyond_every_screen_is_shown_on_one)
{
    configure(resource::dlgIdentPosition, L"99999,99999");
    UserPasswordDialog dialog;
    EXPECT_EQ(dialog.pos(), QPoint(99999, 99999)) << "decided only when it is shown";
    dialog.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&dialog));
    EXPECT_TRUE(dialog.screen()->geometry().contains(dialog.frameGeometry()));
}

TEST_F(Appearance, a_dialog_stands_exactly_where_it_is_configured)
{
    for (const std::unique_ptr<QDialog> &dialog : everyDialog()) {
        dialog->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(dialog.get()));
        EXPECT_EQ(dialog->pos(), QPoint(20, 20)) << qPrintable(dialog->windowTitle());
    }
}

TEST_F(Appearance, a_dialog_keeps_the_place_that_its_user_gave_it)
{
    UserPasswordDialog dialog;
    dialog.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&dialog));
    dialog.move(200, 150);
    dialog.resize(500, 400);
    ASSERT_TRUE(QTest::qWaitFor([&] { return dialog.size() == QSize(500, 400); }));
    dialog.hide();
    dialog.show();
    EXPECT_EQ(dialog.size(), QSize(500, 400));
}

TEST_F(Appearance, a_text_with_markup_is_shown_as_it_stands)
{
    configure(resource::dlgUpdateMessageText, L"<h1>New</h1><img src='/etc/passwd'>");
    EXPECT_EQ(child<QLabel>(AskUpdateDialog(), "messageLabel").textFormat(), Qt::PlainText);
}

} // namespace
