// SPDX-License-Identifier: MIT
#include "tests/gui/DialogTest.h"
#include "vrp/core/resource_strings.h"
#include "vrp/core/resource_table.h"
#include "vrp/settings/installation_settings.h"
#include "vrp/ui/AskUpdateDialog.h"
#include "vrp/ui/ConfigDialog.h"
#include "vrp/ui/MessageWindow.h"
#include "vrp/ui/UserPasswordDialog.h"

#include <QScreen>

namespace {

/// How every dialog looks under other texts, fonts, reading directions and positions.
class Appearance : public DialogTest
{
protected:
    Appearance()
    {
        setUserSetting(L"ProxyServer", L"proxy");
        setUserSetting(L"ProxyPort", L"65535");
    }

    ~Appearance() override
    {
        QApplication::setFont(m_font);
        QApplication::setLayoutDirection(Qt::LeftToRight);
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

    /// Has the texts and images that an installation with this file of packaging/config has.
    void installLanguage(const char *file)
    {
        const QString folder = QStringLiteral(VAREK_SOURCE_DIR "/packaging/");
        delete m_run->configSettings;
        m_run->configSettings = nullptr;
        copyBounded(m_run->configFilePath,
                    QString2StdWString(folder + QStringLiteral("config/") + QLatin1String(file)));
        for (const wchar_t *id : resource::installed) {
            VrpsSetCompanyRegistryKeyFromConfigFile(id);
        }
        m_run->programDir = QString2StdWString(folder + QStringLiteral("images"));
    }

    static void setFontSize(qreal points)
    {
        QFont font = QApplication::font();
        font.setPointSizeF(points);
        QApplication::setFont(font);
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

TEST_F(Appearance, nothing_is_cut_with_a_font_of_24_points)
{
    setFontSize(24);
    expectEveryDialogWhole();
}

class Languages : public Appearance, public testing::WithParamInterface<const char *>
{
protected:
    Languages() { installLanguage(GetParam()); }
};

TEST_P(Languages, are_shown_whole)
{
    expectEveryDialogWhole();
    setFontSize(24);
    expectEveryDialogWhole();
}

TEST_P(Languages, fit_on_a_small_screen_with_a_font_of_24_points)
{
    constexpr QSize room(1024, 768 - 40); // a title bar and a panel stand there too
    setFontSize(24);
    for (const std::unique_ptr<QDialog> &dialog : everyDialog()) {
        dialog->show();
        EXPECT_LE(dialog->width(), room.width()) << qPrintable(dialog->windowTitle());
        EXPECT_LE(dialog->height(), room.height()) << qPrintable(dialog->windowTitle());
    }
}

TEST_P(Languages, leave_every_progress_text_beside_the_cancel_button)
{
    MessageWindow window;
    window.show();
    const QWidget &cancel = child<QWidget>(window, "cancelButton");
    const QLabel &label = child<QLabel>(window, "textLabel");
    for (const wchar_t *id : resource::installed) {
        if (std::wstring(id).rfind(L"Messages;", 0) == 0) {
            window.setTextMessage(VrpsLoadConfigString(id).c_str());
            EXPECT_TRUE(window.rect().contains(label.geometry())) << qPrintable(label.text());
            EXPECT_FALSE(cancel.geometry().intersects(label.geometry())) << qPrintable(label.text());
        }
    }
}

TEST_P(Languages, put_a_blank_between_the_word_version_and_its_number)
{
    EXPECT_TRUE(child<QLabel>(ConfigDialog(), "versionLabel").text().endsWith(QStringLiteral(": 1.00.000")));
}

INSTANTIATE_TEST_SUITE_P(Shipped, Languages,
                         testing::Values("varek.ini", "varek.fr.ini", "varek.de.ini", "varek.es.ini"));

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
