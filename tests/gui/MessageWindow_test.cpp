// SPDX-License-Identifier: MIT
#include "vrp/ui/MessageWindow.h"

#include "tests/gui/gui_test.h"
#include "vrp/core/resource_table.h"
#include "vrp/ui/progress.h"

#include <QAccessible>
#include <QLabel>
#include <QMetaMethod>
#include <QPainter>
#include <QPushButton>
#include <QScreen>

#include <chrono>
#include <csignal>
#include <memory>
#include <thread>
#include <utility>

namespace {

/// Stops a process and lets it go on after a while, whatever happens to the caller meanwhile.
class StoppedProcess
{
public:
    StoppedProcess(pid_t process, std::chrono::milliseconds duration)
        : m_resume([=] {
              std::this_thread::sleep_for(duration);
              kill(process, SIGCONT);
          })
    {
        kill(process, SIGSTOP);
    }

    ~StoppedProcess() { m_resume.join(); }

    StoppedProcess(const StoppedProcess &) = delete;
    StoppedProcess &operator=(const StoppedProcess &) = delete;

private:
    std::thread m_resume;
};

/// Counts how often a widget is painted.
class PaintCounter : public QObject
{
public:
    explicit PaintCounter(QWidget &widget) { widget.installEventFilter(this); }

    bool eventFilter(QObject *, QEvent *event) override
    {
        m_count += event->type() == QEvent::Paint ? 1 : 0;
        return false;
    }

    [[nodiscard]] int take() { return std::exchange(m_count, 0); }

private:
    int m_count = 0;
};

class ProgressWindow : public GuiTest
{
protected:
    ProgressWindow() { m_run->programDir = QString2StdWString(m_images.path()); }

    MessageWindow &open()
    {
        m_window = std::make_unique<MessageWindow>();
        m_run->messageWindow = m_window.get();
        return *m_window;
    }

    [[nodiscard]] QLabel &label() const { return child<QLabel>(*m_window, "textLabel"); }

    /// Puts a picture of one colour into the program's folder and names it in an entry.
    void addImage(const wchar_t *fileId, const QString &name, QSize size, const QColor &color)
    {
        QPixmap pixmap(size);
        pixmap.fill(color);
        ASSERT_TRUE(pixmap.save(m_images.filePath(name)));
        configure(fileId, QString2StdWString(name));
    }

    void addCancelImages()
    {
        addImage(resource::messageWindowBitmapCancelFile, QStringLiteral("cancel.png"), {40, 20}, Qt::red);
        addImage(resource::messageWindowBitmapCancelSFile, QStringLiteral("pressed.png"), {50, 30}, Qt::blue);
        configure(resource::messageWindowBitmapCancelPosition, L"300,40");
    }

    [[nodiscard]] QColor colorAt(int x, int y) const { return m_window->grab().toImage().pixelColor(x, y); }

    QTemporaryDir m_images;
    std::unique_ptr<MessageWindow> m_window;
};

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

TEST_F(ProgressWindow, is_painted_when_a_text_has_been_set)
{
    MessageWindow &window = open();
    window.setTextMessage(L"Connecting the server...");
    EXPECT_TRUE(window.isVisible());
    EXPECT_TRUE(window.windowHandle()->isExposed());
    EXPECT_EQ(label().text(), QStringLiteral("Connecting the server..."));
}

TEST_F(ProgressWindow, shows_a_text_as_plain_text)
{
    open().setTextMessage(L"<b>100 %</b> & more");
    EXPECT_EQ(label().textFormat(), Qt::PlainText);
    EXPECT_EQ(label().text(), QStringLiteral("<b>100 %</b> & more"));
}

TEST_F(ProgressWindow, keeps_its_size_while_the_label_grows_with_its_text)
{
    MessageWindow &window = open();
    window.setTextMessage(L"Sending");
    const int oneLine = label().height();
    window.setTextMessage(
        L"Das Dokument wird gerade in Blöcken an den Server übertragen, bitte warten Sie einen Augenblick");
    EXPECT_GE(label().height(), 2 * oneLine);
    EXPECT_GE(label().height(), label().heightForWidth(430));
    EXPECT_EQ(label().width(), 430);
    EXPECT_EQ(window.size(), QSize(450, 70));
    window.setTextMessage(L"Sending");
    EXPECT_EQ(label().height(), oneLine);
}

TEST_F(ProgressWindow, moves_to_a_visible_place_when_it_is_shown)
{
    configure(resource::messageWindowPosition, L"99999999999,99999999999");
    MessageWindow &window = open();
    window.setTextMessage(L"Sending");
    const QRect screen = window.screen()->geometry();
    EXPECT_TRUE(screen.contains(window.frameGeometry())) << testing::PrintToString(window.pos());
}

TEST_F(ProgressWindow, stands_exactly_where_it_is_configured_when_the_title_is_visible)
{
    const QRect screen = QGuiApplication::primaryScreen()->geometry();
    const int x = screen.right() - 100;
    configure(resource::messageWindowPosition, std::to_wstring(x) + L",5");
    MessageWindow &window = open();
    window.setTextMessage(L"Sending");
    EXPECT_EQ(window.pos(), QPoint(x, 5));
}

TEST_F(ProgressWindow, declares_its_slots_in_order)
{
    const QMetaObject &meta = MessageWindow::staticMetaObject;
    EXPECT_EQ(meta.method(meta.methodOffset()).methodSignature(), QByteArray("doSend()"));
    EXPECT_EQ(meta.method(meta.methodOffset() + 1).methodSignature(), QByteArray("onCancel()"));
    EXPECT_EQ(meta.methodCount() - meta.methodOffset(), 2);
}

TEST_F(ProgressWindow, starts_the_send_once_the_event_loop_runs_and_ends_it_with_0)
{
    int sends = 0;
    standIns().send = [&] {
        ++sends;
        return 1;
    };
    open();
    EXPECT_EQ(sends, 0);
    EXPECT_EQ(QApplication::exec(), 0);
    EXPECT_EQ(sends, 1);
}

TEST_F(ProgressWindow, is_not_shown_before_the_first_text)
{
    bool visible = true;
    standIns().send = [&] {
        visible = m_window->isVisible();
        return 0;
    };
    open();
    QApplication::exec();
    EXPECT_FALSE(visible);
}

TEST_F(ProgressWindow, paints_a_text_at_once_and_the_same_text_no_second_time)
{
    MessageWindow &window = open();
    window.setTextMessage(L"Sending file... 7 %");
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    QCoreApplication::processEvents();
    PaintCounter paints(label());
    window.setTextMessage(L"Sending file... 8 %");
    EXPECT_EQ(paints.take(), 1);
    for (int block = 0; block < 3; ++block) {
        window.setTextMessage(L"Sending file... 8 %");
        RefreshMessageWindow();
    }
    EXPECT_EQ(paints.take(), 0);
    label().setText(QStringLiteral("Sending file... 9 %"));
    RefreshMessageWindow();
    EXPECT_GE(paints.take(), 1);
}

TEST_F(ProgressWindow, shows_the_same_text_again_after_it_was_hidden)
{
    MessageWindow &window = open();
    window.setTextMessage(L"Sending file...");
    HideMessageWindow();
    PaintCounter paints(label());
    window.setTextMessage(L"Sending file...");
    EXPECT_TRUE(window.isVisible());
    EXPECT_TRUE(QTest::qWaitFor([&] { return paints.take() > 0; }));
    EXPECT_EQ(label().text(), QStringLiteral("Sending file..."));
}

TEST_F(ProgressWindow, is_brought_to_the_front)
{
    MessageWindow &window = open();
    window.setTextMessage(L"Sending");
    QWidget other;
    other.resize(200, 200);
    other.show();
    other.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&other));
    VrpsSetMessageWindowOnTop();
    EXPECT_TRUE(QTest::qWaitForWindowActive(&window));
}

TEST_F(ProgressWindow, is_visible_after_every_hide_and_immediate_show)
{
    MessageWindow &window = open();
    for (int round = 0; round < 20; ++round) {
        VrpsSetMessageWindow(resource::messagesConnectingServer, -1);
        HideMessageWindow();
        VrpsSetMessageWindow(resource::messagesSendingFile, -1);
        ASSERT_TRUE(window.isVisible());
        // A window manager that the machine keeps waiting may need longer than the program waits for it.
        ASSERT_TRUE(QTest::qWaitFor([&] { return isOnScreen(window); })) << "in round " << round;
        CloseMessageWindow();
    }
    EXPECT_TRUE(window.isHidden());
}

TEST_F(ProgressWindow, is_visible_after_a_hide_and_show_that_a_slow_window_manager_sees_late)
{
    const auto windowManager = static_cast<pid_t>(qEnvironmentVariableIntValue("X11_WINDOW_MANAGER_PID"));
    if (windowManager == 0) {
        ASSERT_FALSE(onX11()) << "run this beside tests/support/with_x11";
        return;
    }
    MessageWindow &window = open();
    for (int round = 0; round < 5; ++round) {
        VrpsSetMessageWindow(resource::messagesConnectingServer, -1);
        {
            const StoppedProcess standstill(windowManager, std::chrono::milliseconds(400));
            HideMessageWindow();
            VrpsSetMessageWindow(resource::messagesSendingFile, -1);
        }
        EXPECT_TRUE(QTest::qWaitFor([&] { return isOnScreen(window); })) << "in round " << round;
        QTest::qWait(100);
        EXPECT_TRUE(isOnScreen(window)) << "in round " << round;
        EXPECT_TRUE(window.windowHandle()->isExposed());
        CloseMessageWindow();
    }
}

} // namespace
