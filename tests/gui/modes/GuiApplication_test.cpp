// SPDX-License-Identifier: MIT
#include "vrp/core/GuiApplication.h"

#include "tests/gui/modes/ModesTest.h"
#include "vrp/core/printer_title.h"
#include "vrp/ui/message_boxes.h"

#include <QAccessible>
#include <QApplication>
#include <QIcon>
#include <QLocale>
#include <QTemporaryDir>

namespace {

using LastWindow = GuiApplication::LastWindow;

class GuiApplicationTest : public ModesTest
{};

TEST_F(GuiApplicationTest, the_toolkits_own_buttons_speak_the_users_language)
{
    const QLocale before;
    QLocale::setDefault(QLocale(QLocale::French, QLocale::France));
    ShownBox shown;
    {
        const GuiApplication application(LastWindow::isIgnored);
        const PreparedAnswers answers({note(shown, QMessageBox::No)});
        VrpsMessageBox(L"?", iconQuestion, buttonYes | buttonNo);
    }
    QLocale::setDefault(before);
    for (QString &text : shown.buttonTexts) {
        text.remove(QLatin1Char('&'));
    }
    EXPECT_TRUE(shown.buttonTexts.contains(QStringLiteral("Oui")) &&
                shown.buttonTexts.contains(QStringLiteral("Non")))
        << "is the package qt6-translations-l10n (or qttranslations5-l10n) installed? The buttons say "
        << shown.buttonTexts.join(QLatin1Char(' ')).toStdString();
}

TEST_F(GuiApplicationTest, a_language_without_a_translation_leaves_the_buttons_in_english)
{
    const QLocale before;
    QLocale::setDefault(QLocale::c());
    ShownBox shown;
    {
        const GuiApplication application(LastWindow::isIgnored);
        const PreparedAnswers answers({note(shown, QMessageBox::Ok)});
        VrpsMessageBox(L"!", iconInformation, buttonOk);
    }
    QLocale::setDefault(before);
    EXPECT_EQ(shown.buttonTexts.value(0).remove(QLatin1Char('&')), QStringLiteral("OK"));
}

TEST_F(GuiApplicationTest, the_last_window_ends_the_loop_only_where_that_is_wanted)
{
    {
        const GuiApplication application(LastWindow::endsLoop);
        EXPECT_TRUE(QApplication::quitOnLastWindowClosed());
    }
    const GuiApplication application(LastWindow::isIgnored);
    EXPECT_FALSE(QApplication::quitOnLastWindowClosed());
}

TEST_F(GuiApplicationTest, screen_readers_call_the_program_by_the_title_of_its_printer)
{
    const GuiApplication application(LastWindow::isIgnored);
    const QAccessibleInterface *program = QAccessible::queryAccessibleInterface(QCoreApplication::instance());
    EXPECT_EQ(program->text(QAccessible::Name), QStringLiteral("Varek Printer")) << "not known yet";
    setPrinterTitle(L"Imprimante du bureau");
    EXPECT_EQ(program->text(QAccessible::Name), QStringLiteral("Imprimante du bureau"));
    setPrinterTitle(L"");
    EXPECT_EQ(program->text(QAccessible::Name), QStringLiteral("Varek Printer"));
}

TEST_F(GuiApplicationTest, an_icon_beside_the_program_becomes_that_of_its_windows)
{
    const QTemporaryDir folder;
    m_main->programDir = folder.path().toStdWString();
    QApplication::setWindowIcon(QIcon());
    const GuiApplication without(LastWindow::isIgnored);
    EXPECT_TRUE(QApplication::windowIcon().isNull());
    QPixmap picture(16, 16);
    picture.fill(Qt::red);
    ASSERT_TRUE(picture.save(folder.filePath(QStringLiteral("vrp.ico")), "PNG"));
    const GuiApplication with(LastWindow::isIgnored);
    EXPECT_FALSE(QApplication::windowIcon().isNull());
    QApplication::setWindowIcon(QIcon());
}

} // namespace
