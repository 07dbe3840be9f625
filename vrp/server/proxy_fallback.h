// SPDX-License-Identifier: MIT
#pragma once

#include "vrp/server/connection_text.h"

#include <string>
#include <utility>

/// The proxy of one connection and what is tried when the server cannot be reached with it: the proxy that
/// the system names, asked once in a run, and then no proxy.
class ProxyFallback
{
public:
    /// Asks the system for the proxy to use for an address; false when it names none. See VrpsGetProxy.
    using Detector = bool (*)(std::wstring &host, int &port, bool ssl, const std::wstring &url);

    ProxyFallback(ProxySettings proxy, Detector detector) : m_proxy(std::move(proxy)), m_detector(detector) {}

    [[nodiscard]] const ProxySettings &proxy() const { return m_proxy; }

    void setCredentials(const std::wstring &user, const std::wstring &password);

    /// To be called at each attempt: one without a proxy is not made a second time.
    void attempt();

    /// Sets the proxy for another attempt at a server that could not be reached, and logs what it does. False
    /// when nothing is left to try.
    [[nodiscard]] bool next(const ConnectionParameters &server);

private:
    bool detect(const ConnectionParameters &server);
    bool withoutProxy();

    ProxySettings m_proxy;
    Detector m_detector;
    bool m_triedWithoutProxy = false;
};
