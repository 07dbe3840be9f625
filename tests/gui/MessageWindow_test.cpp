// SPDX-License-Identifier: MIT
#include "vrp/ui/MessageWindow.h"

#include "tests/gui/ProgressWindowTest.h"

#include <QMetaMethod>
#include <QPushButton>

namespace {

using ProgressWindow = ProgressWindowTest;

TEST_F(ProgressWindow, stands_as_described_with_every_entry_at_its_default)
{
    const MessageWindow &window = open();
    EXPECT_EQ(window.pos(), QPoint(50, 50));
    EXPECT_EQ(window.size(), QSize(450, 70));
    EXPECT_EQ(window.windowTitle(), QStringLiteral("Varek print on demand"));
    EXPECT_EQ(window.styleSheet(), QStringLiteral("background-color: rgb(255,255,255);"));
    EXPECT_EQ(label().styleSheet(),
              QStringLiteral("font: 20px Arial; color: rgb(0,0,0); background-color: rgb(255,255,255);"));
    EXPECT_EQ(label().pos(), QPoint(10, 10));
    EXPECT_EQ(label().minimumWidth(), 430);
    EXPECT_EQ(label().maximumWidth(), 430);
    EXPECT_TRUE(label().wordWrap());
    EXPECT_EQ(label().text(), QString());
    EXPECT_TRUE(window.findChildren<QPushButton *>().isEmpty());
    EXPECT_TRUE(window.windowFlags().testFlag(Qt::CustomizeWindowHint));
    EXPECT_TRUE(window.windowFlags().testFlag(Qt::WindowTitleHint));
    EXPECT_FALSE(window.windowFlags().testFlag(Qt::WindowSystemMenuHint));
    EXPECT_FALSE(window.windowFlags().testFlag(Qt::WindowCloseButtonHint));
    EXPECT_FALSE(window.windowFlags().testFlag(Qt::FramelessWindowHint));
    EXPECT_FALSE(window.isVisible());
}

TEST_F(ProgressWindow, takes_every_entry_from_the_configuration)
{
    configure(resource::messageWindowTitle, L"Drucken läuft 印刷");
    configure(resource::messageWindowPosition, L"120, 130");
    configure(resource::messageWindowWidht, L"600");
    configure(resource::messageWindowHeight, L" 90 pixels");
    configure(resource::messageWindowBackgroundColor, L"1,2,3");
    configure(resource::messageWindowTextPosition, L"30,20");
    configure(resource::messageWindowBold, L" yes ");
    configure(resource::messageWindowFontSize, L"14");
    configure(resource::messageWindowFont, L"Liberation Serif");
    configure(resource::messageWindowTextColor, L"300,-4,12");
    configure(resource::messageWindowTextBackgroundColor, L"7,8,9");
    const MessageWindow &window = open();
    EXPECT_EQ(window.windowTitle(), QStringLiteral("Drucken läuft 印刷"));
    EXPECT_EQ(window.pos(), QPoint(120, 130));
    EXPECT_EQ(window.size(), QSize(600, 90));
    EXPECT_EQ(window.styleSheet(), QStringLiteral("background-color: rgb(1,2,3);"));
    EXPECT_EQ(label().pos(), QPoint(30, 20));
    EXPECT_EQ(label().width(), 560);
    EXPECT_EQ(label().styleSheet(), QStringLiteral("font: bold 14px Liberation Serif; color: rgb(255,0,12); "
                                                   "background-color: rgb(7,8,9);"));
    label().ensurePolished();
    EXPECT_EQ(label().font().family(), QStringLiteral("Liberation Serif"));
    EXPECT_EQ(label().font().pixelSize(), 14);
    EXPECT_TRUE(label().font().bold());
}

TEST_F(ProgressWindow, has_a_title_bar_only_with_caption_yes_and_a_frame_only_with_border_yes)
{
    const struct
    {
        const wchar_t *caption, *border;
        bool title, frameless;
    } cases[] = {
        {L"yes", L" YES ", true, false}, {L"No", L"Yes", false, false}, {L"", L"", false, true},
        {L"Yes", L"No", true, true},     {L"Y", L"Y", false, true},
    };

    for (const auto &c : cases) {
        configure(resource::messageWindowCaption, c.caption);
        configure(resource::messageWindowBorder, c.border);
        const Qt::WindowFlags flags = open().windowFlags();
        EXPECT_EQ(flags.testFlag(Qt::WindowTitleHint), c.title) << c.caption;
        EXPECT_EQ(flags.testFlag(Qt::FramelessWindowHint), c.frameless) << c.border;
        EXPECT_TRUE(flags.testFlag(Qt::CustomizeWindowHint));
    }
}

TEST_F(ProgressWindow, keeps_going_with_sizes_that_make_no_sense)
{
    const struct
    {
        const wchar_t *width, *height, *fontSize;
        QSize size;
        const char *font;
    } cases[] = {
        {L"-5", L"-1", L"0", {0, 0}, "20px"},
        {L"wide", L"", L"-3", {0, 0}, "20px"},
        {L"99999999999", L"2147483648", L"99999999999", {8192, 8192}, "1000px"},
        {L"30", L"50", L"8px", {30, 50}, "8px"},
    };

    for (const auto &c : cases) {
        configure(resource::messageWindowWidht, c.width);
        configure(resource::messageWindowHeight, c.height);
        configure(resource::messageWindowFontSize, c.fontSize);
        configure(resource::messageWindowTextPosition, L"99999999999,0");
        EXPECT_EQ(open().size(), c.size) << c.width;
        EXPECT_EQ(label().width(), 0);
        EXPECT_TRUE(label().styleSheet().startsWith(QStringLiteral("font: ") + QLatin1String(c.font)));
    }
}

TEST_F(ProgressWindow, is_not_styled_by_what_a_font_name_smuggles_in)
{
    configure(resource::messageWindowFont, L"Arial; } QLabel { color: rgb(255,0,0)");
    open();
    label().ensurePolished();
    EXPECT_EQ(label().palette().color(QPalette::WindowText), QColor(0, 0, 0));
    configure(resource::messageWindowFont, std::wstring(5000, L'"'));
    open();
    EXPECT_LE(label().styleSheet().size(), 799);
    EXPECT_TRUE(label().styleSheet().endsWith(QStringLiteral("background-color: rgb(255,255,255);")));
}

TEST_F(ProgressWindow, has_the_same_font_for_an_empty_font_entry)
{
    configure(resource::messageWindowFont, L"");
    open();
    EXPECT_TRUE(label().styleSheet().startsWith(QStringLiteral("font: 20px Arial;")));
}

TEST_F(ProgressWindow, reads_colour_and_position_entries_of_any_window)
{
    configure(resource::dlgIdentPosition, L"30,40");
    int x = 0;
    int y = 0;
    MessageWindow::getPositionFromId(resource::dlgIdentPosition, x, y);
    EXPECT_EQ(QPoint(x, y), QPoint(30, 40));
    configure(resource::messageWindowTextColor, L"1,2,3");
    int r = 0;
    int g = 0;
    int b = 0;
    MessageWindow::getColorFromId(resource::messageWindowTextColor, r, g, b);
    EXPECT_EQ(QColor(r, g, b), QColor(1, 2, 3));
}

TEST_F(ProgressWindow, keeps_its_dark_text_on_white_whatever_the_palette)
{
    const QPalette light = QApplication::palette();
    QPalette dark;
    dark.setColor(QPalette::Window, Qt::black);
    dark.setColor(QPalette::WindowText, Qt::white);
    QApplication::setPalette(dark);
    MessageWindow &window = open();
    window.setTextMessage(L"I");
    EXPECT_EQ(colorAt(440, 60), QColor(Qt::white));
    EXPECT_EQ(colorAt(400, 15), QColor(Qt::white));
    EXPECT_EQ(label().palette().color(QPalette::WindowText), QColor(Qt::black));
    QApplication::setPalette(light);
}

TEST_F(ProgressWindow, draws_later_bitmaps_over_earlier_ones)
{
    addImage(resource::messageWindowBitmap1File, QStringLiteral("one.png"), {60, 30}, Qt::red);
    addImage(resource::messageWindowBitmap2File, QStringLiteral("two.png"), {60, 30}, Qt::green);
    addImage(resource::messageWindowBitmap3File, QStringLiteral("three.png"), {60, 30}, Qt::blue);
    configure(resource::messageWindowTextPosition, L"10,60");
    configure(resource::messageWindowBitmap1Position, L"100,10");
    configure(resource::messageWindowBitmap2Position, L"120,10");
    configure(resource::messageWindowBitmap3Position, L"140,-10");
    open();
    EXPECT_EQ(colorAt(110, 35), QColor(Qt::red));
    EXPECT_EQ(colorAt(130, 35), QColor(Qt::green));
    EXPECT_EQ(colorAt(190, 5), QColor(Qt::blue)) << "a negative coordinate counts as 0";
    EXPECT_EQ(colorAt(150, 20), QColor(Qt::blue));
    EXPECT_EQ(colorAt(220, 20), QColor(Qt::white));
}

TEST_F(ProgressWindow, has_its_pictures_in_the_corner_when_no_position_is_configured)
{
    configure(resource::messageWindowTextPosition, L"100,10");
    addImage(resource::messageWindowBitmap1File, QStringLiteral("one.png"), {60, 60}, Qt::red);
    addImage(resource::messageWindowBitmap2File, QStringLiteral("two.png"), {40, 40}, Qt::green);
    addImage(resource::messageWindowBitmap3File, QStringLiteral("three.png"), {20, 20}, Qt::blue);
    open();
    EXPECT_EQ(colorAt(0, 0), QColor(Qt::blue));
    EXPECT_EQ(colorAt(20, 20), QColor(Qt::green));
    EXPECT_EQ(colorAt(39, 39), QColor(Qt::green));
    EXPECT_EQ(colorAt(40, 40), QColor(Qt::red));
    EXPECT_EQ(colorAt(59, 59), QColor(Qt::red));
    EXPECT_EQ(colorAt(60, 60), QColor(Qt::white));
    addImage(resource::messageWindowBitmapCancelFile, QStringLiteral("cancel.png"), {40, 20}, Qt::red);
    EXPECT_EQ(child<QPushButton>(open(), "cancelButton").pos(), QPoint(0, 0));
}

TEST_F(ProgressWindow, leaves_out_an_image_that_is_missing_or_is_none)
{
    configure(resource::messageWindowBitmap1File, L"missing.png");
    SettingsFolder::write(m_images.filePath(QStringLiteral("text.png")), "no image");
    configure(resource::messageWindowBitmap2File, L"text.png");
    configure(resource::messageWindowBitmapCancelFile, L"missing.png");
    const MessageWindow &window = open();
    EXPECT_EQ(colorAt(5, 5), QColor(Qt::white));
    EXPECT_TRUE(window.findChildren<QPushButton *>().isEmpty());
}

TEST_F(ProgressWindow, reads_each_image_from_disk_once)
{
    addImage(resource::messageWindowBitmap1File, QStringLiteral("one.png"), {20, 20}, Qt::red);
    configure(resource::messageWindowBitmap1File, L" one.png ");
    QPixmap pixmap;
    EXPECT_EQ(MessageWindow::loadBitmap(&pixmap, resource::messageWindowBitmap1File, nullptr, nullptr),
              &pixmap);
    ASSERT_TRUE(QFile::remove(m_images.filePath(QStringLiteral("one.png"))));
    EXPECT_EQ(MessageWindow::loadBitmap(&pixmap, resource::messageWindowBitmap1File, nullptr, nullptr),
              &pixmap);
    EXPECT_EQ(pixmap.size(), QSize(20, 20));
    QPixmap other;
    EXPECT_EQ(MessageWindow::loadBitmap(&other, resource::messageWindowBitmap1File, nullptr, nullptr),
              nullptr);
    EXPECT_EQ(MessageWindow::loadBitmap(&other, resource::messageWindowBitmap2File, nullptr, nullptr),
              nullptr);
}

TEST_F(ProgressWindow, has_cancel_buttons_of_the_size_of_their_pictures)
{
    addCancelImages();
    configure(resource::dlgIdentCancelText, L"Abbrechen");
    open();
    const auto &cancel = child<QPushButton>(*m_window, "cancelButton");
    const auto &pressed = child<QPushButton>(*m_window, "pressedCancelButton");
    EXPECT_EQ(cancel.geometry(), QRect(300, 40, 40, 20));
    EXPECT_EQ(cancel.iconSize(), QSize(40, 20));
    EXPECT_EQ(pressed.geometry(), QRect(300, 40, 50, 30));
    EXPECT_EQ(pressed.iconSize(), QSize(50, 20)) << "the icon takes its height from the other picture";
    EXPECT_FALSE(cancel.isHidden());
    EXPECT_TRUE(pressed.isHidden());
    for (const QPushButton *button : {&cancel, &pressed}) {
        EXPECT_EQ(button->accessibleName(), QStringLiteral("Abbrechen"));
        EXPECT_FALSE(button->icon().isNull());
    }
}

TEST_F(ProgressWindow, cancels_at_a_click_and_shows_the_pressed_button)
{
    addCancelImages();
    open().setTextMessage(L"Sending");
    auto &cancel = child<QPushButton>(*m_window, "cancelButton");
    QTest::mouseClick(&cancel, Qt::LeftButton);
    EXPECT_TRUE(m_run->cancelled);
    EXPECT_TRUE(cancel.isHidden());
    EXPECT_TRUE(child<QPushButton>(*m_window, "pressedCancelButton").isVisible());
    EXPECT_EQ(colorAt(325, 55), QColor(Qt::blue));
}

TEST_F(ProgressWindow, keeps_its_cancel_button_without_a_pressed_picture)
{
    addImage(resource::messageWindowBitmapCancelFile, QStringLiteral("cancel.png"), {40, 20}, Qt::red);
    open().setTextMessage(L"Sending");
    auto &cancel = child<QPushButton>(*m_window, "cancelButton");
    QTest::mouseClick(&cancel, Qt::LeftButton);
    EXPECT_TRUE(m_run->cancelled);
    EXPECT_TRUE(cancel.isVisible());
    EXPECT_EQ(m_window->findChild<QPushButton *>(QStringLiteral("pressedCancelButton")), nullptr);
}

TEST_F(ProgressWindow, is_cancelled_from_the_keyboard)
{
    addCancelImages();
    open().setTextMessage(L"Sending");
    auto &cancel = child<QPushButton>(*m_window, "cancelButton");
    m_window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(m_window.get()));
    QTest::keyClick(m_window.get(), Qt::Key_Tab);
    EXPECT_EQ(QApplication::focusWidget(), &cancel);
    QTest::keyClick(&cancel, Qt::Key_Space);
    EXPECT_TRUE(m_run->cancelled);
}

TEST_F(ProgressWindow, has_the_logical_size_of_a_picture_for_dense_screens)
{
    addImage(resource::messageWindowBitmapCancelFile, QStringLiteral("cancel@2x.png"), {80, 40}, Qt::red);
    open();
    EXPECT_EQ(child<QPushButton>(*m_window, "cancelButton").size(), QSize(40, 20));
}

TEST_F(ProgressWindow, declares_its_slots_in_order)
{
    const QMetaObject &meta = MessageWindow::staticMetaObject;
    EXPECT_EQ(meta.method(meta.methodOffset()).methodSignature(), QByteArray("doSend()"));
    EXPECT_EQ(meta.method(meta.methodOffset() + 1).methodSignature(), QByteArray("onCancel()"));
    EXPECT_EQ(meta.methodCount() - meta.methodOffset(), 2);
}

} // namespace
