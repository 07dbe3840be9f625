// SPDX-License-Identifier: MIT
#include "tests/gui/StandIns.h"

#include "vrp/core/VrpMain.h"
#include "vrp/server/browser.h"

StandIns &standIns()
{
    static StandIns instance;
    return instance;
}

bool VrpsRunBrowser(const wchar_t *url)
{
    standIns().openedAddresses.emplace_back(url);
    return true;
}

int VrpMain::DoSend()
{
    return standIns().send ? standIns().send() : 0;
}
