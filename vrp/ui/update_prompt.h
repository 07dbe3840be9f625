// SPDX-License-Identifier: MIT
#pragma once

/// What VrpMain::updateAnswer holds.
enum UpdateAnswer
{
    updateNo = 0,
    updateYes = 1,
    updateCancel = 2
};

/// Asks whether to upgrade now; the answer is left in VrpMain::updateAnswer.
void VrpsAskUpdate();
