// SPDX-License-Identifier: MIT
#include "vrp/core/VrpMain.h"

#include "vrp/core/command_line.h"
#include "vrp/settings/store_access.h"

VrpMain Main;

VrpMain::~VrpMain() = default;

VrpMain *VrpsGetMain()
{
    return &Main;
}

void VrpMain::Init(int argc, char **argv)
{
    useMachineWideStoreFolder();
    runMode = runNone;
    programDir = programFolder(argc > 0 ? argv[0] : "");
    VrpsparseCmdLine(VrpsGetCommandLine(argc, argv).c_str(), arguments);
    applyGeneralOptions(*this);
    log.Remove();
}
