// SPDX-License-Identifier: MIT
#include "vrp/server/connection.h"

#include "vrp/core/VrpMain.h"
#include "vrp/platform/system.h"
#include "vrp/platform/text.h"
#include "vrp/server/cancel_request.h"
#include "vrp/server/command_channel.h"
#include "vrp/server/masking.h"
#include "vrp/server/proxy_fallback.h"
#include "vrp/server/server_error.h"
#include "vrp/settings/stored_credentials.h"
#include "vrp/ui/credentials.h"
#include "vrp/ui/message_boxes.h"
#include "vrp/ui/progress.h"

#include <vrc.h>

#include <cstdint>
#include <memory>
#include <optional>

namespace {

constexpr int errorAnswerCapacity = 1024; ///< characters

struct CloseRequest
{
    void operator()(void *request) const { VrCloseRequest(request); }
};

using Request = std::unique_ptr<void, CloseRequest>;

std::int64_t asOutcome(Request request)
{
    return static_cast<std::int64_t>(reinterpret_cast<std::intptr_t>(request.release()));
}

/// The stored proxy: per user, machine-wide where there is none. One whose user is loaded already is kept.
ProxySettings configuredProxy()
{
    VrpMain &main = *VrpsGetMain();
    if (main.proxyUser.empty()) {
        VrpsGetProxyFromRegistry(false);
        if (main.proxyServer.empty()) {
            VrpsGetProxyFromRegistry(true);
        }
    }
    return {main.proxyServer, main.proxyPort, main.proxyUser, main.proxyPassword};
}

/// A proxy is remembered once a connection through it has succeeded.
void storeProxy(const ProxySettings &proxy)
{
    VrpMain &main = *VrpsGetMain();
    main.proxyServer = proxy.host;
    main.proxyPort = proxy.port;
    main.proxyUser = proxy.user;
    main.proxyPassword = proxy.password;
    VrpsSetProxyToRegistry(false, !main.saveProxyPassword);
}

void logLine(const std::wstring &text)
{
    VrpsGetMain()->log.WriteLn(escapeControls(text).c_str());
}

bool testCommandSucceeds(void *request, const ConnectionParameters &parameters)
{
    std::wstring command = L"VR_CMD=|MISC:NOP|";
    if (!parameters.loginArguments.empty()) {
        command += L" " + parameters.loginArguments;
    }
    return VrpsVrCommand(request, command, nullptr, 0, nullptr) == commandSucceeded;
}

std::wstring errorAnswer(void *request, const wchar_t *field)
{
    wchar_t answer[errorAnswerCapacity] = L"";
    VrpsVrCommand(request, errorInfoCommand(field), answer, errorAnswerCapacity, nullptr);
    return answer;
}

ServerError askServerError(void *request)
{
    const std::wstring service = errorAnswer(request, L"SERVICE");
    const std::wstring errorClass = errorAnswer(request, L"CLASS");
    const std::wstring code = errorAnswer(request, L"CODE");
    return classifyServerError(service, errorClass, code);
}

void showConnectionError(const ConnectionString &connection)
{
    const VrpMain &main = *VrpsGetMain();
    if (main.showConnectionErrors && !main.silent) {
        VrpsMessageBox(connection.masked.c_str(), iconInformation, buttonOk);
    }
}

/// What follows a failed attempt: nothing for another attempt, otherwise the connection's outcome.
std::optional<ConnectionOutcome> afterFailure(ServerError error, const ConnectionParameters &parameters,
                                              ProxyFallback &fallback)
{
    switch (error) {
    case ServerError::proxyWantsCredentials:
        if (VrpsAskProxy() != 0) {
            return connectionCancelled;
        }
        UpdateMessageWindow();
        fallback.setCredentials(VrpsGetMain()->proxyUser, VrpsGetMain()->proxyPassword);
        return std::nullopt;
    case ServerError::cannotConnect:
    case ServerError::network:
        return fallback.next(parameters) ? std::nullopt : std::optional(connectionFailed);
    case ServerError::badUser:
        return connectionBadUser;
    case ServerError::badPassword:
        return connectionBadPassword;
    case ServerError::other:
        break;
    }
    return connectionFailed;
}

/// One attempt: the outcome, or nothing when another attempt shall follow.
std::optional<std::int64_t> attempt(const ConnectionParameters &parameters, ProxyFallback &fallback)
{
    fallback.attempt();
    const ConnectionString connection =
        buildConnectionString(parameters, fallback.proxy(), VrpsGetMain()->socketLogFile);
    Request request(VrOpenRequest(wtoUTF8(connection.real).c_str()));
    if (!request) {
        logLine(L"Varek request is NULL for: " + connection.masked);
        return connectionFailed;
    }
    logLine(L"Varek connection: " + connection.masked);
    if (testCommandSucceeds(request.get(), parameters)) {
        storeProxy(fallback.proxy());
        logLine(L" SUCCESS");
        return asOutcome(std::move(request));
    }
    logLine(L" FAILED");
    showConnectionError(connection);
    if (cancelRequested()) {
        return connectionCancelled;
    }
    const ServerError error = askServerError(request.get());
    request.reset();
    return afterFailure(error, parameters, fallback);
}

} // namespace

std::int64_t VrpsConnectVarek(const ConnectionParameters &parameters)
{
    logLine(L"Varek connection: Connecting on " + parameters.server + L":" +
            std::to_wstring(parameters.port) + L";" + parameters.application);
    ProxyFallback fallback(configuredProxy(), VrpsGetProxy);
    for (;;) {
        if (cancelRequested()) {
            return connectionCancelled;
        }
        if (const std::optional<std::int64_t> outcome = attempt(parameters, fallback)) {
            return *outcome;
        }
    }
}

std::int64_t VrpsConnectVarek(const std::wstring &server, int port, bool ssl, const std::wstring &application,
                              const std::wstring &user, const std::wstring &password,
                              const std::wstring &openProcedure, const std::wstring &closeProcedure,
                              const std::wstring &loginArguments, bool sso, const std::wstring &ssoPrincipal)
{
    return VrpsConnectVarek({server, port, ssl, application, user, password, openProcedure, closeProcedure,
                             loginArguments, sso, ssoPrincipal});
}

void *VrpsRequestOf(std::int64_t connection)
{
    switch (connection) {
    case connectionFailed:
    case connectionCancelled:
    case connectionBadUser:
    case connectionBadPassword:
        return nullptr;
    default:
        // A handle travels as an integer, so that it can also be an outcome.
        return reinterpret_cast<void *>(connection); // NOLINT(performance-no-int-to-ptr)
    }
}

std::int64_t connectWithRetry(const ConnectionParameters &parameters)
{
    const std::int64_t outcome = VrpsConnectVarek(parameters);
    return outcome == connectionFailed ? VrpsConnectVarek(parameters) : outcome;
}

void logRefusal(std::int64_t outcome)
{
    VrpLog &log = VrpsGetMain()->log;
    if (outcome == connectionCancelled) {
        log.WriteLn(L"User canceled the operation");
    } else if (outcome == connectionBadUser) {
        log.WriteLn(L"Bad user");
    } else if (outcome == connectionBadPassword) {
        log.WriteLn(L"Bad password");
    }
}
