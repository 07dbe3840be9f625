// SPDX-License-Identifier: MIT
#pragma once

#include "tests/support/KerberosRealm.h"

#include <string>

/// A realm with a person of it at this machine, and what a server and its directory are told of it. Has to be
/// made before the server is, which inherits its environment.
class SingleSignOn
{
protected:
    SingleSignOn()
    {
        realm.addPerson("alice", "alice-secret");
        realm.logIn("alice", "alice-secret");
    }

    /// Sections for the server's configuration.
    [[nodiscard]] std::string serverSettings()
    {
        return "[SingleSignOn]\nKeytab=" + realm.keytabOf("HTTP/localhost").string() +
               "\nRealm=" + KerberosRealm::name + "\n";
    }

    /// Lines for the parameters that the directory hands out.
    [[nodiscard]] static std::string directoryParameters(const std::string &forPortal = "YES")
    {
        std::string lines = "PORTAL_URL={portal}/portal?client=vrp\nSERVER_PORTAL_APPLICATION=portal\n"
                            "SERVER_UPLOAD_PROCEDURE=ProcessFile\n";
        for (const std::string role : {"SERVER_UPLOAD_", "SERVER_PORTAL_"}) {
            lines.append(role).append("ADDRESS=localhost\n");
            lines.append(role).append("SSO_PRINCIPAL=HTTP/localhost\n");
        }
        return lines + "SERVER_UPLOAD_SSO=YES\nSERVER_PORTAL_SSO=" + forPortal + "\n";
    }

    KerberosRealm realm;
};
