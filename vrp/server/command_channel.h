// SPDX-License-Identifier: MIT
#pragma once

#include <string>

/// What a command that succeeds returns.
inline constexpr int commandSucceeded = 1;

/// Carries out one command and logs it with its result, passwords masked. `result` holds `resultCapacity`
/// wide characters, terminator included, or is null. Retries once on a network error. Returns the library's
/// status.
int VrpsVrCommand(void *request, const std::wstring &command, wchar_t *result, int resultCapacity,
                  int *extra);
