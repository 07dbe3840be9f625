// SPDX-License-Identifier: MIT
#include "vrp/server/connection_text.h"

#include "vrp/server/masking.h"

namespace {

/// The part of the Server value that leads through a proxy. It is addressed with http:// for SSL connections
/// too.
std::wstring proxyPrefix(const ProxySettings &proxy, const std::wstring &password)
{
    if (proxy.host.empty()) {
        return {};
    }
    std::wstring prefix = L"proxy::http://" + proxy.host + L":" + std::to_wstring(proxy.port);
    if (!proxy.user.empty()) {
        prefix += L"(" + proxy.user + L";" + password + L")";
    }
    return prefix + L"::";
}

std::wstring optionalField(const wchar_t *key, const std::wstring &value)
{
    return value.empty() ? std::wstring() : std::wstring(L" ") + key + L"=\"" + value + L"\"";
}

std::wstring build(const ConnectionParameters &parameters, const ProxySettings &proxy,
                   const std::wstring &socketLog, const std::wstring &proxyPassword,
                   const std::wstring &sessionPassword)
{
    std::wstring text = L"Unicode=\"YES\" Server=\"" + proxyPrefix(proxy, proxyPassword);
    text += parameters.server + L":" + std::to_wstring(parameters.port);
    if (parameters.sso) {
        text += L"\" Sso=\"YES\" SsoPrincipal=\"" + parameters.ssoPrincipal;
    }
    text += L"\" Application=\"" + parameters.application + L"\" User=\"" + parameters.user;
    text += L"\" Password=\"" + sessionPassword;
    if (parameters.ssl) {
        text += L"\" Ssl=\"YES";
    }
    text += L"\"";
    text += optionalField(L"Open", parameters.openProcedure);
    text += optionalField(L"Close", parameters.closeProcedure);
    text += optionalField(L"SocketLog", socketLog);
    return text + L" ConnectionTimeOut=\"5\"";
}

} // namespace

ConnectionString buildConnectionString(const ConnectionParameters &parameters, const ProxySettings &proxy,
                                       const std::wstring &socketLog)
{
    return {build(parameters, proxy, socketLog, proxy.password, parameters.password),
            build(parameters, proxy, socketLog, mask, mask)};
}
