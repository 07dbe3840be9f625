// SPDX-License-Identifier: MIT
#include "vrp/ui/update_prompt.h"

#include "vrp/ui/AskUpdateDialog.h"
#include "vrp/ui/progress.h"

void VrpsAskUpdate()
{
    AskUpdateDialog dialog;
    VrpsSetMessageWindowOnTop();
    dialog.exec();
}
