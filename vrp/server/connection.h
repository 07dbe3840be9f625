// SPDX-License-Identifier: MIT
#pragma once

#include "vrp/server/connection_text.h"

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

/// Opens a request to a server and proves it with a test command, to which the login arguments are appended.
/// Walks the proxy fallback on failure. Returns the handle, which the caller closes with VrCloseRequest after
/// VR_CLOSE_SESSION, or a ConnectionOutcome.
std::int64_t VrpsConnectVarek(const ConnectionParameters &parameters);
std::int64_t VrpsConnectVarek(const std::wstring &server, int port, bool ssl, const std::wstring &application,
                              const std::wstring &user, const std::wstring &password,
                              const std::wstring &openProcedure, const std::wstring &closeProcedure,
                              const std::wstring &loginArguments, bool sso, const std::wstring &ssoPrincipal);

/// The handle that a result of VrpsConnectVarek holds; null for a ConnectionOutcome.
void *VrpsRequestOf(std::int64_t connection);

/// Connects, a second time when the server could not be reached. The result is that of VrpsConnectVarek.
[[nodiscard]] std::int64_t connectWithRetry(const ConnectionParameters &parameters);

/// Logs why an outcome of VrpsConnectVarek is no request, where that was the user's or the server's decision.
void logRefusal(std::int64_t outcome);
