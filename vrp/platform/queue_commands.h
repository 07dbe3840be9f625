// SPDX-License-Identifier: MIT
#pragma once

#include <string>

/// The shell commands and the script by which a printer queue is set up. Names go into them as they are,
/// without escaping: a double quote in a printer name breaks the command.
namespace queue_commands {

/// Where CUPS looks for its backends.
inline constexpr wchar_t backendFolder[] = L"/usr/libexec/cups/backend/";

/// An enabled queue whose device hands every job to the backend named after the monitor.
[[nodiscard]] std::wstring createQueue(const std::wstring &printer, const std::wstring &monitor,
                                       const std::wstring &ppdFile);
[[nodiscard]] std::wstring deleteQueue(const std::wstring &printer);

/// The backend runs as root only when nobody else may.
[[nodiscard]] std::wstring protectBackend(const std::wstring &monitor);
[[nodiscard]] std::wstring makeExecutable(const std::wstring &file);

/// The script that opens the configuration dialog of a printer, with the program that stands beside it.
[[nodiscard]] std::wstring launcherScript(const std::wstring &program, const std::wstring &printer);

} // namespace queue_commands
