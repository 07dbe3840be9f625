// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>
#include <vector>

/// What takes the place of the layers behind the windows: the browser and the send workflow.
struct StandIns
{
    std::vector<std::wstring> openedAddresses;
    std::function<int()> send; ///< run by VrpMain::DoSend
};

StandIns &standIns();
