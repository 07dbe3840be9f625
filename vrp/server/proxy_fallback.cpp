// SPDX-License-Identifier: MIT
#include "vrp/server/proxy_fallback.h"

#include "vrp/core/VrpMain.h"

namespace {

void logLine(const std::wstring &text)
{
    VrpsGetMain()->log.WriteLn((L"Varek connection: " + text).c_str());
}

/// An address that stands for the server when the system is asked for its proxy; nothing is fetched from it.
std::wstring probeAddress(const ConnectionParameters &server)
{
    return (server.ssl ? L"https://" : L"http://") + server.server + L":" + std::to_wstring(server.port) +
           L"/Config/blank.htm";
}

} // namespace

void ProxyFallback::setCredentials(const std::wstring &user, const std::wstring &password)
{
    m_proxy.user = user;
    m_proxy.password = password;
}

void ProxyFallback::attempt()
{
    if (m_proxy.host.empty()) {
        m_triedWithoutProxy = true;
    }
}

bool ProxyFallback::next(const ConnectionParameters &server)
{
    return detect(server) || withoutProxy();
}

bool ProxyFallback::detect(const ConnectionParameters &server)
{
    bool &done = VrpsGetMain()->proxyDetectionDone;
    if (done) {
        return false;
    }
    logLine(L"try to get proxy information.");
    done = true;
    ProxySettings detected;
    if (!m_detector(detected.host, detected.port, server.ssl, probeAddress(server))) {
        logLine(L"no proxy information found from system.");
        return false;
    }
    if (detected.host == m_proxy.host && detected.port == m_proxy.port) {
        return false;
    }
    logLine(L"proxy detection brought new values: " + detected.host + L":" + std::to_wstring(detected.port));
    m_proxy = detected;
    m_proxy.user.clear();
    m_proxy.password.clear();
    logLine(L"try conenction with new proxy information."); // spelled so on purpose: support searches for it
    return true;
}

bool ProxyFallback::withoutProxy()
{
    if (m_triedWithoutProxy || m_proxy.host.empty()) {
        logLine(L"finally failed.");
        return false;
    }
    logLine(L"try without proxy.");
    m_triedWithoutProxy = true;
    m_proxy = ProxySettings();
    return true;
}
