// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

/// Joins the arguments, decoded by the toolkit, into one line: each in double quotes, single spaces between.
std::wstring VrpsGetCommandLine(int argc, char **argv);
std::wstring MacGetCommandLine(int argc, char **argv);

/// Splits a command line at spaces outside double quotes and appends the arguments to `out`, each without one
/// leading and one trailing double quote. A double quote inside an argument toggles the quoting, on purpose.
/// Returns the number of elements of `out`.
int VrpsparseCmdLine(const wchar_t *commandLine, std::vector<std::wstring> &out);

/// The value that follows `option` in the arguments of this run, from index 1 on; the last one given counts.
/// False when the option is absent or is the last argument.
bool optionValue(const wchar_t *option, std::wstring &value);
