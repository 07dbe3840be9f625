// SPDX-License-Identifier: MIT
#include "vrp/ui/print_choices.h"

#include "vrp/core/VrpMain.h"
#include "vrp/settings/settings_store.h"
#include "vrp/ui/AskServiceDialog.h"
#include "vrp/ui/PrintModeDialog.h"
#include "vrp/ui/modal_run.h"

int VrpsAskPrintMode()
{
    VrpMain *run = VrpsGetMain();
    run->printMode = VrpsGetLastModeFromRegistry();
    int offered = 0;
    const auto count = [&](bool modeOffered, int mode) {
        if (modeOffered) {
            ++offered;
            run->printMode = mode;
        }
    };
    count(run->standardModeOffered, printModeStandard);
    count(run->asyncModeOffered, printModeAsync);
    count(run->tunnelModeOffered, printModeTunnel);
    if (offered == 1) {
        VrpsSetLastModeToRegistry(run->printMode);
        return 0;
    }
    run->printMode = printModeNone;
    PrintModeDialog dialog;
    return runModally(dialog);
}

int VrpsAskService()
{
    VrpMain *run = VrpsGetMain();
    run->service = VrpsGetLastServiceFromRegistry();
    AskServiceDialog dialog;
    if (runModally(dialog) != 0) {
        return 1;
    }
    VrpsSetLastServiceToRegistry(run->service);
    return 0;
}
