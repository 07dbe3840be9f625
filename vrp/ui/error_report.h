// SPDX-License-Identifier: MIT
#pragma once

#include "vrp/core/VrpMain.h"
#include "vrp/ui/message_boxes.h"

/// Shows an error as VrpsErrorMessage does, unless the run is silent.
inline void reportError(const wchar_t *id, int code = 0)
{
    if (!VrpsGetMain()->silent) {
        VrpsErrorMessage(id, code);
    }
}
