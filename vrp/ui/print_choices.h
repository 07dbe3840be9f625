// SPDX-License-Identifier: MIT
#pragma once

/// Sets the print mode of the application object: the only one offered, or the one that the user chooses.
/// 0 when one is set, 1 when the user cancelled.
int VrpsAskPrintMode();

/// Lets the user choose among the services of the application object: 0 when chosen, 1 when cancelled.
int VrpsAskService();
