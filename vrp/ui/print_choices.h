// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

/// Sets the print mode of the application object: the only one offered, or the one that the user chooses.
/// 0 when one is set, 1 when the user cancelled.
int VrpsAskPrintMode();

/// Lets the user choose among the services of the application object: 0 when chosen, 1 when cancelled.
int VrpsAskService();

/// The print mode that the dialog preselects: the last one chosen (anything but 1, 2 and 4 counts as 1), or,
/// when that is not offered, the first of the others that is. With none offered the last mode stays.
[[nodiscard]] int preselectedPrintMode(int lastMode, bool standardOffered, bool asyncOffered,
                                       bool tunnelOffered);

/// What the user sees of a service row: its second field, fields being separated by ";"; a row without ";"
/// whole.
[[nodiscard]] std::wstring serviceTitle(std::wstring_view row);
