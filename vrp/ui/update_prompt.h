// SPDX-License-Identifier: MIT
#pragma once

/// Asks whether to upgrade now; the answer is left in VrpMain::updateAnswer.
void VrpsAskUpdate();
