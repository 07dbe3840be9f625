// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>

/// Outcomes of VrpsConnectVarek other than a request handle.
enum ConnectionOutcome : std::int64_t
{
    connectionFailed = 0,
    connectionCancelled = -1,
    connectionBadUser = -2,
    connectionBadPassword = -3,
};

/// Opens a request to a server and proves it with a test command, to which `loginArguments` is appended.
/// Walks the proxy fallback on failure. Returns the handle, which the caller closes with VrCloseRequest after
/// VR_CLOSE_SESSION, or a ConnectionOutcome.
std::int64_t VrpsConnectVarek(const std::wstring &server, int port, bool ssl, const std::wstring &application,
                              const std::wstring &user, const std::wstring &password,
                              const std::wstring &openProcedure, const std::wstring &closeProcedure,
                              const std::wstring &loginArguments, bool sso, const std::wstring &ssoPrincipal);

/// The handle that a result of VrpsConnectVarek holds; null for a ConnectionOutcome.
void *VrpsRequestOf(std::int64_t connection);

/// What a command that succeeds returns.
inline constexpr int commandSucceeded = 1;

/// Carries out one command and logs it with its result, passwords masked. `result` holds `resultCapacity`
/// wide characters, terminator included, or is null. Retries once on a network error. Returns the library's
/// status.
int VrpsVrCommand(void *request, const std::wstring &command, wchar_t *result, int resultCapacity,
                  int *extra);
