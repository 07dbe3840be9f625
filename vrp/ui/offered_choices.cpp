// SPDX-License-Identifier: MIT
#include "vrp/ui/offered_choices.h"

#include "vrp/core/VrpMain.h"

int preselectedPrintMode(int lastMode, bool standardOffered, bool asyncOffered, bool tunnelOffered)
{
    int mode = lastMode == printModeAsync || lastMode == printModeTunnel ? lastMode : printModeStandard;
    const auto firstOffered = [&](bool offered, int candidate, bool otherOffered, int other) {
        mode = offered ? candidate : (otherOffered ? other : mode);
    };
    if (mode == printModeStandard && !standardOffered) {
        firstOffered(asyncOffered, printModeAsync, tunnelOffered, printModeTunnel);
    }
    if (mode == printModeAsync && !asyncOffered) {
        firstOffered(standardOffered, printModeStandard, tunnelOffered, printModeTunnel);
    }
    if (mode == printModeTunnel && !tunnelOffered) {
        firstOffered(standardOffered, printModeStandard, asyncOffered, printModeAsync);
    }
    return mode;
}

std::wstring serviceTitle(std::wstring_view row)
{
    const std::size_t first = row.find(L';');
    if (first == std::wstring_view::npos) {
        return std::wstring(row);
    }
    row.remove_prefix(first + 1);
    return std::wstring(row.substr(0, row.find(L';')));
}
