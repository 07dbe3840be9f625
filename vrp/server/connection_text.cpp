// SPDX-License-Identifier: MIT
#include "vrp/server/connection_text.h"

#include "vrp/server/masking.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace {

constexpr std::wstring_view keys[] = {L"Unicode",     L"Server", L"Sso",       L"SsoPrincipal",
                                      L"Application", L"User",   L"Password",  L"Ssl",
                                      L"Open",        L"Close",  L"SocketLog", L"ConnectionTimeOut"};

/// Whether a double quote before this text would end a value, and the text be the next one.
bool beginsValue(std::wstring_view text)
{
    return std::any_of(std::begin(keys), std::end(keys), [&](std::wstring_view key) {
        return text.starts_with(L' ') && text.substr(1).starts_with(key) &&
               text.substr(1 + key.size()).starts_with(L"=\"");
    });
}

/// A value with the double quote that closes it. Nothing in it can be escaped, so a quote that would end it
/// early goes: what a directory server says of another server must not name a file for the socket log.
std::wstring closed(std::wstring_view value)
{
    std::wstring text = L"\"";
    for (std::size_t at = value.size(); at-- > 0;) {
        if (value[at] != L'"' || !beginsValue(text)) {
            text.insert(text.begin(), value[at]);
        }
    }
    return text;
}

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

std::wstring build(const ConnectionParameters &parameters, const ProxySettings &proxy,
                   const std::wstring &socketLog, const std::wstring &proxyPassword,
                   const std::wstring &sessionPassword)
{
    std::wstring text = L"Unicode=\"YES\"";
    const auto add = [&text](const wchar_t *key, std::wstring_view value) {
        text.append(L" ").append(key).append(L"=\"").append(closed(value));
    };
    add(L"Server",
        proxyPrefix(proxy, proxyPassword) + parameters.server + L":" + std::to_wstring(parameters.port));
    if (parameters.sso) {
        add(L"Sso", L"YES");
        add(L"SsoPrincipal", parameters.ssoPrincipal);
    }
    add(L"Application", parameters.application);
    add(L"User", parameters.user);
    add(L"Password", sessionPassword);
    if (parameters.ssl) {
        add(L"Ssl", L"YES");
    }
    for (const auto &[key, value] :
         {std::pair{L"Open", parameters.openProcedure}, std::pair{L"Close", parameters.closeProcedure},
          std::pair{L"SocketLog", socketLog}}) {
        if (!value.empty()) {
            add(key, value);
        }
    }
    add(L"ConnectionTimeOut", L"5");
    return text;
}

} // namespace

ConnectionString buildConnectionString(const ConnectionParameters &parameters, const ProxySettings &proxy,
                                       const std::wstring &socketLog)
{
    return {build(parameters, proxy, socketLog, proxy.password, parameters.password),
            build(parameters, proxy, socketLog, mask, mask)};
}
