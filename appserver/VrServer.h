// SPDX-License-Identifier: MIT
#pragma once

#include "appserver/AppServices.h"
#include "appserver/DataFolder.h"
#include "appserver/HttpSite.h"
#include "appserver/Listener.h"
#include "appserver/TlsSettings.h"
#include "appserver/server_log.h"
#include "appserver/server_options.h"

#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace appserver {

/// The whole server over one data folder. Listens from its creation until stop().
class VrServer
{
public:
    /// Throws std::exception with a text for the administrator.
    explicit VrServer(const ServerOptions &options);
    ~VrServer();
    VrServer(const VrServer &) = delete;
    VrServer &operator=(const VrServer &) = delete;

    /// Says where everything is, one "name: value" a line, then "ready". At the first start it makes the demo
    /// user in between, and throws when it cannot say the password: the next start is the first one again.
    void announce(std::ostream &out);

    /// Reads configuration and certificates again; what cannot be read stays as it is.
    void reload();
    /// Ends idle sessions, deletes old documents; to be called now and then.
    void tidyUp();
    /// Answers the running requests, then closes all connections.
    void stop();

private:
    struct Ports
    {
        int main = 0;
        int portal = 0;
        int plain = 0; ///< 0: none
        int plainPortal = 0;
    };

    void describe(std::ostream &out) const;
    void introduceDemoUser(std::ostream &out);
    void listen(const ListenSettings &settings);
    int addListener(const std::string &address, int port, HttpSite &site, bool tls);
    [[nodiscard]] ConnectionRules rules() const;
    [[nodiscard]] std::string url(bool tls, int port) const;

    DataFolder m_folder;
    bool m_isFirstStart = false;
    ListenSettings m_listen;
    std::unique_ptr<AppServices> m_services;
    std::unique_ptr<TlsSettings> m_tls;
    std::unique_ptr<AccessLog> m_log;
    std::unique_ptr<HttpSite> m_vrcSite;
    std::unique_ptr<HttpSite> m_portalSite;
    ConnectionSet m_connections;
    std::vector<std::unique_ptr<Listener>> m_listeners;
    Ports m_ports;
};

} // namespace appserver
