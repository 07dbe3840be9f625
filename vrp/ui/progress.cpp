// SPDX-License-Identifier: MIT
#include "vrp/ui/progress.h"

#include "vrp/core/VrpMain.h"
#include "vrp/core/resource_strings.h"
#include "vrp/ui/MessageWindow.h"

#include <QCoreApplication>

#include <string>

void VrpsSetMessageWindow(const wchar_t *id, int number)
{
    constexpr std::wstring_view numberMark = L"%d";
    std::wstring &text = VrpsGetMain()->messageText;
    text = VrpsLoadConfigString(id);
    const std::size_t mark = text.find(numberMark);
    if (number != -1 && mark != std::wstring::npos) {
        text.replace(mark, numberMark.size(), std::to_wstring(number));
    }
    if (MessageWindow *window = VrpsGetMain()->messageWindow) {
        window->setTextMessage(text.c_str());
    }
}

void RefreshMessageWindow()
{
    VrpsGetMain()->messageWindow->repaintText();
    QCoreApplication::processEvents();
}

void HideMessageWindow()
{
    if (MessageWindow *window = VrpsGetMain()->messageWindow) {
        window->hide();
    }
}

void CloseMessageWindow()
{
    HideMessageWindow();
}

void VrpsSetMessageWindowOnTop()
{
    if (MessageWindow *window = VrpsGetMain()->messageWindow) {
        window->setOnTop();
    }
}

void UpdateMessageWindow()
{}

void VrpsCleanupUi()
{}
