// SPDX-License-Identifier: MIT
#pragma once

#include <string>

/// Takes over the printer's title, which every box carries; it is cut at the capacity of its field. The
/// program is also known by it to screen readers and to the desktop.
void setPrinterTitle(const std::wstring &title);

/// Has the program known by the printer's title, or by the default one as long as there is none.
void nameProgram();
