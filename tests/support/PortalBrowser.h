// SPDX-License-Identifier: MIT
#pragma once

#include "appserver/control_digest.h"
#include "tests/support/ServerProcess.h"

#include <httplib.h>

#include <string>

/// A browser without a window at a server's portal, over TLS.
class PortalBrowser : public httplib::SSLClient
{
public:
    explicit PortalBrowser(const ServerProcess &server) : SSLClient(server.host(), server.portalPort())
    {
        set_ca_cert_path(server.authority());
    }
};

/// Path and query of the address that a client opens for a session of its own.
inline std::string portalAddress(const std::string &session, const std::string &user,
                                 const std::string &password)
{
    return "/portal?client=vrp&VR_SESSION_ID=" + session +
           "&CTRL=" + appserver::controlDigest(session, user, password);
}

/// The cookie that an answer sets, as a browser sends it back.
inline httplib::Headers cookieOf(const httplib::Response &answer)
{
    const std::string cookie = answer.get_header_value("Set-Cookie");
    return {{"Cookie", cookie.substr(0, cookie.find(';'))}};
}

/// The form token of a page.
inline std::string tokenOn(const std::string &page)
{
    const std::string marker = "name=\"token\" value=\"";
    const std::size_t digits = 64;
    return page.substr(page.find(marker) + marker.size(), digits);
}
