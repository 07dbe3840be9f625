// SPDX-License-Identifier: MIT
#include "vrp/core/VrpMain.h"
#include "vrp/settings/store_access.h"

#include <sys/resource.h>

namespace {

/// The program holds passwords in clear: a crash must not leave them in a file.
void forbidCoreDumps()
{
    const rlimit none{0, 0};
    setrlimit(RLIMIT_CORE, &none);
}

int statusOf(bool success)
{
    return success ? 0 : 1;
}

/// Carries out the run mode and returns the exit status.
int runSelectedMode(VrpMain &program)
{
    switch (program.runMode) {
    case runInstall:
        return statusOf(program.Install());
    case runUninstall:
        return statusOf(program.Uninstall());
    case runConfigure:
        return program.Configure();
    case runHelp:
        return statusOf(program.Help());
    case runVersion:
        return statusOf(program.Version());
    case runTest:
    case runTestWithPortal:
        program.testMode = true;
        return program.Send();
    default:
        return program.Send();
    }
}

} // namespace

int main(int argc, char **argv)
{
    forbidCoreDumps();
    useMachineWideStoreFolder();
    VrpMain &program = *VrpsGetMain();
    program.Init(argc, argv);
    if (program.runMode == runNone) {
        return 0;
    }
    const int status = runSelectedMode(program);
    program.Cleanup();
    return status;
}
