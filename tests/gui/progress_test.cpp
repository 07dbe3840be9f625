// SPDX-License-Identifier: MIT
#include "vrp/ui/progress.h"

#include "tests/gui/GuiTest.h"
#include "vrp/core/resource_table.h"
#include "vrp/ui/MessageWindow.h"
#include "vrp/ui/credentials.h"
#include "vrp/ui/print_choices.h"
#include "vrp/ui/update_prompt.h"

#include <QLabel>
#include <QPushButton>

namespace {

/// Counts how often a window is raised above the others.
class Raises : public QObject
{
public:
    explicit Raises(QWidget &window) { window.installEventFilter(this); }

    [[nodiscard]] int count() const { return m_count; }

private:
    bool eventFilter(QObject *, QEvent *event) override
    {
        m_count += event->type() == QEvent::ZOrderChange ? 1 : 0;
        return false;
    }

    int m_count = 0;
};

class Progress : public GuiTest
{
protected:
    QString textAfter(const wchar_t *text, int number)
    {
        configure(resource::messagesSendingFile, text);
        VrpsSetMessageWindow(resource::messagesSendingFile, number);
        return QString::fromStdWString(m_run->messageText);
    }
};

TEST_F(Progress, replaces_the_first_number_mark_of_a_text)
{
    const struct
    {
        const wchar_t *text;
        int number;
        const char *shown;
    } cases[] = {
        {L"Sent %d %", 42, "Sent 42 %"},
        {L"%d of %d", 0, "0 of %d"},
        {L"%d", -2147483647 - 1, "-2147483648"},
        {L"Sent %d %", -1, "Sent %d %"},
        {L"Sending", 42, "Sending"},
        {L"100 %%d %s%n", 7, "100 %7 %s%n"},
        {L"", 7, ""},
    };

    for (const auto &c : cases) {
        EXPECT_EQ(textAfter(c.text, c.number), QLatin1String(c.shown));
    }
}

TEST_F(Progress, takes_the_default_text_of_its_identifier)
{
    VrpsSetMessageWindow(resource::messagesConnectingServer, -1);
    EXPECT_EQ(m_run->messageText, L"Connecting the server...");
}

TEST_F(Progress, shows_the_text_in_the_window)
{
    MessageWindow window;
    m_run->messageWindow = &window;
    textAfter(L"Block %d", 3);
    EXPECT_EQ(child<QLabel>(window, "textLabel").text(), QStringLiteral("Block 3"));
    EXPECT_TRUE(window.isVisible());
    CloseMessageWindow();
    EXPECT_TRUE(window.isHidden());
    VrpsSetMessageWindow(resource::messagesSendingFile, -1);
    HideMessageWindow();
    EXPECT_TRUE(window.isHidden());
}

TEST_F(Progress, comes_to_the_front_before_every_dialog_of_a_send)
{
    MessageWindow window;
    m_run->messageWindow = &window;
    VrpsSetMessageWindow(resource::messagesConnectingServer, -1);
    forgetExit();
    const std::function<void()> dialogs[] = {[] { VrpsGetIdentPassword(); }, [] { VrpsAskProxy(); },
                                             [] { VrpsAskPrintMode(); }, [] { VrpsAskService(); },
                                             [] { VrpsAskUpdate(); }};
    for (const std::function<void()> &ask : dialogs) {
        const Raises raises(window);
        const PreparedAnswers answers({[&](QWidget &dialog) {
            EXPECT_EQ(raises.count(), 1) << qPrintable(dialog.windowTitle());
            dialog.close();
        }});
        ask();
    }
}

TEST_F(Progress, does_nothing_without_a_window)
{
    HideMessageWindow();
    CloseMessageWindow();
    VrpsSetMessageWindowOnTop();
    UpdateMessageWindow();
    VrpsCleanupUi();
    EXPECT_EQ(textAfter(L"Sending", -1), QStringLiteral("Sending"));
}

TEST_F(Progress, serves_the_cancel_button_between_server_calls)
{
    const QTemporaryDir images;
    QPixmap picture(40, 20);
    picture.fill(Qt::red);
    ASSERT_TRUE(picture.save(images.filePath(QStringLiteral("cancel.png"))));
    m_run->programDir = QString2StdWString(images.path());
    configure(resource::messageWindowBitmapCancelFile, L"cancel.png");
    MessageWindow window;
    m_run->messageWindow = &window;
    VrpsSetMessageWindow(resource::messagesSendingFile, -1);
    auto &cancel = child<QPushButton>(window, "cancelButton");
    QTimer timer;
    startOnce(timer, [&] { cancel.click(); });
    EXPECT_FALSE(m_run->cancelled);
    RefreshMessageWindow();
    EXPECT_TRUE(m_run->cancelled);
}

} // namespace
