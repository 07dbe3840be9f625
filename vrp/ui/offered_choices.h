// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

/// How print modes and services are offered to the user.

/// The print mode that the dialog preselects: the last one chosen (anything but 1, 2 and 4 counts as 1), or,
/// when that is not offered, the first of the others that is. With none offered the last mode stays.
[[nodiscard]] int preselectedPrintMode(int lastMode, bool standardOffered, bool asyncOffered,
                                       bool tunnelOffered);

/// What the user sees of a service row: its second field, fields being separated by ";"; a row without ";"
/// whole.
[[nodiscard]] std::wstring serviceTitle(std::wstring_view row);
