// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

/// What stands for a password wherever somebody may read it.
inline constexpr wchar_t mask[] = L"****";

/// A command as the log shows it: the value of its POD_PASSWORD field is masked, all else is kept. A value
/// ends at the "|" that a blank or the end follows, so that no tail of a password with a "|" in it is shown.
[[nodiscard]] std::wstring maskCommand(std::wstring_view command);

/// A command's result as the log shows it: masked when the command asks for the value of a parameter whose
/// key ends in _PASSWORD.
[[nodiscard]] std::wstring maskResult(std::wstring_view command, std::wstring_view result);

/// A text as one log line can hold it: control characters but the tab are written as \r, \n or \xHH.
[[nodiscard]] std::wstring escapeControls(std::wstring_view text);
