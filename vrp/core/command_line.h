// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

/// Joins the arguments, decoded by the toolkit, into one line: each in double quotes, single spaces between.
[[nodiscard]] std::wstring VrpsGetCommandLine(int argc, char **argv);
[[nodiscard]] std::wstring MacGetCommandLine(int argc, char **argv);

/// Splits a command line at spaces outside double quotes and appends the arguments to `out`, each without one
/// leading and one trailing double quote. A double quote inside an argument toggles the quoting, on purpose:
/// the arguments after it may be merged, and text behind a quote that is never closed is dropped. Tabs and
/// line ends are ordinary characters. Returns the number of elements of `out`.
int VrpsparseCmdLine(const wchar_t *commandLine, std::vector<std::wstring> &out);

/// The folder of a program that was started by `path`: absolute, with "/" between, without a trailing "/".
[[nodiscard]] std::wstring programFolder(const char *path);

/// Every value that follows `option` in the arguments of this run, in order. The last argument cannot be an
/// option with a value, and a value is not looked at as an option: "-p -p x" gives "-p" alone.
[[nodiscard]] std::vector<std::wstring> optionValues(const wchar_t *option);

/// The value that counts: the last one given. False, and `value` untouched, when there is none.
bool optionValue(const wchar_t *option, std::wstring &value);
