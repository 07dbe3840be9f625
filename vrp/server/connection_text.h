// SPDX-License-Identifier: MIT
#pragma once

#include "vrp/platform/default_ports.h"

#include <string>

/// A proxy on the way to a server; an empty host means none.
struct ProxySettings
{
    std::wstring host;
    int port = defaultProxyPort;
    std::wstring user;
    std::wstring password; ///< in clear
};

/// What is needed to open a request to a server. Nothing can be escaped in the text that is made of it:
/// values are sent as they are, but for a double quote that would end one early and begin another, which is
/// left out.
struct ConnectionParameters
{
    std::wstring server;
    int port = 0;
    bool ssl = true;
    std::wstring application;
    std::wstring user;
    std::wstring password; ///< of the session, in clear
    std::wstring openProcedure;
    std::wstring closeProcedure;
    std::wstring loginArguments; ///< fields appended to the test command
    bool sso = false;
    std::wstring ssoPrincipal;
};

/// A connection string, and the copy of it for logs and boxes in which "****" stands for every password.
struct ConnectionString
{
    std::wstring real;
    std::wstring masked;
};

/// Builds both copies side by side. `socketLog` is the path of the library's own log, empty for none.
[[nodiscard]] ConnectionString buildConnectionString(const ConnectionParameters &parameters,
                                                     const ProxySettings &proxy,
                                                     const std::wstring &socketLog);
