// SPDX-License-Identifier: MIT
#include "tests/support/ScriptedUser.h"

#include "tests/support/Transcript.h"
#include "vrp/core/VrpMain.h"
#include "vrp/core/resource_strings.h"
#include "vrp/platform/text.h"
#include "vrp/server/browser.h"
#include "vrp/ui/credentials.h"
#include "vrp/ui/message_boxes.h"
#include "vrp/ui/print_choices.h"
#include "vrp/ui/progress.h"
#include "vrp/ui/update_prompt.h"

#include <gtest/gtest.h>

namespace {

ScriptedUser *current = nullptr;

std::string textOf(const wchar_t *id)
{
    return wtoUTF8(VrpsLoadConfigString(id));
}

const char *iconName(int icon)
{
    return icon == iconCritical ? "critical" : icon == iconInformation ? "information" : "other";
}

std::string buttonNames(int buttons)
{
    return buttons == buttonOk ? "ok" : std::to_string(buttons);
}

int recordBox(const std::string &text, int icon, int buttons)
{
    Transcript::add(std::string("box ") + iconName(icon) + " " + buttonNames(buttons) + " " + text);
    return buttonOk;
}

int dialog(const char *name, const std::function<int()> &action)
{
    Transcript::add(std::string("dialog ") + name);
    return action ? action() : 0;
}

} // namespace

ScriptedUser::ScriptedUser()
{
    EXPECT_EQ(current, nullptr);
    current = this;
    inPrintModeDialog = [] {
        VrpsGetMain()->printMode = printModeStandard;
        return 0;
    };
}

ScriptedUser::~ScriptedUser()
{
    current = nullptr;
}

void ScriptedUser::refresh()
{
    Transcript::add("refresh");
    if (++m_refreshCount == m_cancelAt) {
        VrpsGetMain()->cancelled = true;
    }
}

int VrpsMessageBox(const wchar_t *text, int icon, int buttons)
{
    return recordBox(wtoUTF8(text), icon, buttons);
}

int VrpsMessageBoxFromId(const wchar_t *id, int icon, int buttons)
{
    return recordBox(textOf(id), icon, buttons);
}

int VrpsErrorMessage(const wchar_t *id, int code)
{
    EXPECT_EQ(code, 0);
    recordBox(textOf(id), iconCritical, buttonOk);
    return 1;
}

void VrpsSetMessageWindow(const wchar_t *id, int number)
{
    Transcript::add("window " + textOf(id) + " " + std::to_string(number));
}

void RefreshMessageWindow()
{
    current->refresh();
}

void HideMessageWindow()
{
    Transcript::add("hide window");
}

void CloseMessageWindow()
{
    Transcript::add("close window");
}

void VrpsSetMessageWindowOnTop()
{
    Transcript::add("window on top");
}

void UpdateMessageWindow()
{
    Transcript::add("update window");
}

void VrpsCleanupUi()
{}

int VrpsGetIdentPassword()
{
    return dialog("identifier", current->inIdentifierDialog);
}

int VrpsAskProxy()
{
    return dialog("proxy", current->inProxyDialog);
}

int VrpsAskPrintMode()
{
    return dialog("print mode", current->inPrintModeDialog);
}

int VrpsAskService()
{
    return dialog("service", current->inServiceDialog);
}

void VrpsAskUpdate()
{
    Transcript::add("dialog update");
    if (current->inUpdatePrompt) {
        current->inUpdatePrompt();
    }
}

bool VrpsRunBrowser(const wchar_t *url)
{
    Transcript::add("browser " + wtoUTF8(url));
    return current->browserStarts;
}
