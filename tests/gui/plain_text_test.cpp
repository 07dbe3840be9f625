// SPDX-License-Identifier: MIT
#include "tests/gui/DialogTest.h"
#include "vrp/core/VrpMain.h"
#include "vrp/core/resource_table.h"
#include "vrp/ui/AskServiceDialog.h"
#include "vrp/ui/AskUpdateDialog.h"
#include "vrp/ui/ConfigDialog.h"
#include "vrp/ui/MessageWindow.h"
#include "vrp/ui/PrintModeDialog.h"
#include "vrp/ui/ProxyUserPasswordDialog.h"
#include "vrp/ui/UserPasswordDialog.h"
#include "vrp/ui/message_boxes.h"
#include "vrp/ui/progress.h"

#include <QElapsedTimer>
#include <QFile>
#include <QMessageBox>

#include <memory>

namespace {

/// Every window with texts that somebody hostile has put into the configuration: nothing is markup, nothing
/// is a format, and nothing takes long.
class PlainText : public DialogTest
{
protected:
    static constexpr wchar_t markup[] =
        L"<h1>%s%n</h1><img src='file:///etc/passwd'><a href='javascript:x'>&x</a>";

    static void configureEveryText(const std::wstring &text)
    {
        const auto store = openCompanyStore(false, StoreAccess::write);
        for (const wchar_t *id : resource::installed) {
            const QStringList fields = QString::fromWCharArray(id).split(QLatin1Char(';'));
            store->setValue(fields.at(0) + QLatin1Char('/') + fields.at(1), QString::fromStdWString(text));
        }
    }

    static std::vector<std::unique_ptr<QWidget>> everyWindow()
    {
        std::vector<std::unique_ptr<QWidget>> windows;
        windows.push_back(std::make_unique<UserPasswordDialog>());
        windows.push_back(std::make_unique<ProxyUserPasswordDialog>());
        windows.push_back(std::make_unique<PrintModeDialog>());
        windows.push_back(std::make_unique<AskServiceDialog>());
        windows.push_back(std::make_unique<AskUpdateDialog>());
        windows.push_back(std::make_unique<ConfigDialog>());
        auto message = std::make_unique<MessageWindow>();
        message->setTextMessage(markup);
        windows.push_back(std::move(message));
        return windows;
    }

    static void expectPlain(const QWidget &window)
    {
        SCOPED_TRACE(window.metaObject()->className());
        for (const QLabel *label : window.findChildren<QLabel *>()) {
            if (!label->text().isEmpty()) {
                EXPECT_EQ(label->textFormat(), Qt::PlainText) << qPrintable(label->text().left(80));
            }
        }
        for (const QWidget *widget : window.findChildren<QWidget *>()) {
            // The toolkit takes these for rich text when they look so.
            EXPECT_EQ(widget->toolTip() + widget->whatsThis() + widget->statusTip(), QString());
        }
    }

    static void expectEveryWindowPlain()
    {
        for (const std::unique_ptr<QWidget> &window : everyWindow()) {
            window->show();
            QCoreApplication::processEvents();
            expectPlain(*window);
            EXPECT_EQ(window->grab().isNull(), window->size().isEmpty());
        }
    }

    static void offerServices(const std::vector<std::wstring> &services)
    {
        VrpsGetMain()->services = services;
        VrpsGetMain()->standardModeOffered = VrpsGetMain()->tunnelModeOffered = true;
    }
};

TEST_F(PlainText, every_window_shows_configured_markup_as_it_stands)
{
    configureEveryText(markup);
    offerServices({std::wstring(L"name;") + markup + L";profile", markup});
    expectEveryWindowPlain();
}

TEST_F(PlainText, every_window_takes_control_characters_and_a_writing_direction_that_turns)
{
    configureEveryText(L"\x1b[2J\r\n\x202e"
                       L"drow\tend\x7f\x85");
    offerServices({L"a;\x1b]0;x\x07;b"});
    expectEveryWindowPlain();
}

TEST_F(PlainText, numbers_of_any_size_do_no_harm)
{
    for (const wchar_t *number : {L"9223372036854775808,99999999999999999999", L"-2147483648,-2147483648"}) {
        configureEveryText(number);
        expectEveryWindowPlain();
    }
}

TEST_F(PlainText, a_very_long_text_is_shown_in_bounded_time)
{
    const std::wstring text = std::wstring(1'000'000, L'x') + L" end";
    for (const wchar_t *id :
         {resource::dlgIdentIdentText, resource::dlgUpdateMessageText, resource::dlgConfigTitle,
          resource::dlgPrintModeStandardText, resource::dlgServiceOkText, resource::messageWindowTitle,
          resource::messagesSendingFile}) {
        configure(id, text);
    }
    offerServices({L"n;" + text + L";p"});
    QElapsedTimer timer;
    timer.start();
    expectEveryWindowPlain();
    forgetExit();
    {
        const PreparedAnswers answers({[](QWidget &box) { box.close(); }});
        VrpsMessageBoxFromId(resource::messagesSendingFile, iconCritical, buttonOk);
    }
    MessageWindow window;
    window.setTextMessage(text.c_str());
    EXPECT_LT(timer.elapsed(), 20'000);
}

TEST_F(PlainText, every_service_of_a_long_list_is_one_plain_item)
{
    offerServices(std::vector<std::wstring>(10'000, std::wstring(L"n;") + markup + L";p"));
    QElapsedTimer timer;
    timer.start();
    AskServiceDialog dialog;
    dialog.show();
    const auto &box = child<QComboBox>(dialog, "servicesBox");
    EXPECT_EQ(box.count(), 10'000);
    EXPECT_EQ(box.itemText(9'999), QString::fromWCharArray(markup));
    EXPECT_LT(timer.elapsed(), 10'000);
}

TEST_F(PlainText, every_box_shows_its_configured_text_as_it_stands)
{
    configureEveryText(markup);
    for (const wchar_t *id : resource::installed) {
        const PreparedAnswers answers({[](QWidget &box) {
            expectPlain(box);
            EXPECT_EQ(dynamic_cast<QMessageBox &>(box).text(), QString::fromWCharArray(markup));
            box.close();
        }});
        VrpsErrorMessage(id, 0);
    }
}

TEST_F(PlainText, a_picture_that_is_a_device_or_a_pipe_is_none)
{
    for (const wchar_t *file :
         {L"../../../../../../dev/zero", L"../../../../../../dev/tty", L"<img>", L"%s%n"}) {
        VrpsGetMain()->programDir = L"/usr/bin";
        for (const wchar_t *id :
             {resource::messageWindowBitmap1File, resource::messageWindowBitmapCancelFile}) {
            configure(id, file);
        }
        QElapsedTimer timer;
        timer.start();
        MessageWindow window;
        window.setTextMessage(L"text");
        EXPECT_FALSE(window.grab().isNull());
        EXPECT_LT(timer.elapsed(), 5'000);
    }
}

} // namespace
