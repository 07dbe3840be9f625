// SPDX-License-Identifier: MIT
#pragma once

#include <string>

/// Selects an installed printer: its company and software names, which decide on the store, and its title.
/// False when it is not installed; the title is left alone then.
[[nodiscard]] bool selectPrinter(const std::wstring &printer);

/// Selects the printer that "-p" names and loads its texts into the application object, but for its name,
/// which stays the one that was given. Null when done, otherwise the resource identifier of what is wrong.
[[nodiscard]] const wchar_t *loadNamedPrinter();
