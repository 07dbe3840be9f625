// SPDX-License-Identifier: MIT
#include "vrp/core/VrpMain.h"

VrpMain Main;

VrpMain::~VrpMain() = default;

VrpMain *VrpsGetMain()
{
    return &Main;
}
