// SPDX-License-Identifier: MIT
#include "vrp/server/login.h"

#include "vrp/core/VrpMain.h"
#include "vrp/core/resource_table.h"
#include "vrp/platform/default_ports.h"
#include "vrp/platform/keyword.h"
#include "vrp/server/connection.h"
#include "vrp/settings/stored_credentials.h"
#include "vrp/ui/error_report.h"
#include "vrp/ui/progress.h"

namespace {

constexpr wchar_t defaultAddress[] = L"127.0.0.1";

std::wstring loginArguments()
{
    const VrpMain &main = *VrpsGetMain();
    return L"POD_USER=|" + main.ident + L"| POD_PASSWORD=|" + main.password + L"|";
}

void forgetPassword()
{
    VrpsGetMain()->password.clear();
    VrpsSetIdentPasswordToRegistry();
}

void refuse(const wchar_t *messageId)
{
    reportError(messageId);
    CloseMessageWindow();
    forgetPassword();
}

} // namespace

ConnectionParameters readServerParameters(ParameterMap &parameters, const std::wstring &server)
{
    const auto value = [&](const wchar_t *name) { return parameters[L"SERVER_" + server + L"_" + name]; };
    ConnectionParameters connection;
    connection.server = value(L"ADDRESS");
    if (connection.server.empty()) {
        connection.server = defaultAddress;
    }
    connection.port = decimalPrefix(value(L"PORT"));
    if (connection.port < 1) {
        connection.port = defaultServerPort;
    }
    connection.ssl = keyword(value(L"PROTOCOL")) != L"HTTP";
    connection.application = value(L"APPLICATION");
    connection.user = value(L"USER");
    connection.password = value(L"PASSWORD");
    connection.openProcedure = value(L"OPEN_SESSION_PROC");
    connection.closeProcedure = value(L"CLOSE_SESSION_PROC");
    connection.sso = isYes(value(L"SSO"));
    connection.ssoPrincipal = value(L"SSO_PRINCIPAL");
    if (!connection.sso) {
        connection.loginArguments = loginArguments();
    }
    return connection;
}

RequestSession logIn(const ConnectionParameters &parameters)
{
    const std::int64_t outcome = connectWithRetry(parameters);
    logRefusal(outcome);
    switch (outcome) {
    case connectionCancelled:
        CloseMessageWindow();
        break;
    case connectionBadUser:
        refuse(resource::errorsBadUser);
        break;
    case connectionBadPassword:
        refuse(resource::errorsBadPassword);
        break;
    case connectionFailed:
        refuse(resource::errorsCannotConnectServer);
        break;
    default:
        break;
    }
    return RequestSession(outcome);
}
