// SPDX-License-Identifier: MIT
#include "vrp/server/cancel_request.h"

#include "vrp/core/VrpMain.h"
#include "vrp/ui/progress.h"

bool cancelRequested()
{
    RefreshMessageWindow();
    return VrpsGetMain()->cancelled;
}
