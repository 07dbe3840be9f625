// SPDX-License-Identifier: MIT
#include "tests/gui/ProgressWindowTest.h"
#include "vrp/ui/progress.h"

#include <QScreen>

#include <chrono>
#include <csignal>
#include <thread>
#include <utility>

namespace {

using ProgressWindow = ProgressWindowTest;

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
