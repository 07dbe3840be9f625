// SPDX-License-Identifier: MIT
#pragma once

#include "tests/support/LoopbackDaemon.h"
#include "tests/support/TemporaryFolder.h"

#include <filesystem>
#include <memory>
#include <string>

/// A Kerberos realm of its own: a key distribution centre on a free port of the loopback interface, whose
/// files, like the tickets of the person at this machine, lie in a temporary folder. The environment of this
/// process and of its children points there for as long as the object lives.
class KerberosRealm
{
public:
    KerberosRealm();
    ~KerberosRealm();
    KerberosRealm(const KerberosRealm &) = delete;
    KerberosRealm &operator=(const KerberosRealm &) = delete;

    static constexpr char name[] = "VAREK.TEST";

    /// "alice", or "alice/admin".
    void addPerson(const std::string &person, const std::string &password);

    /// The file with the key of a service, for instance "HTTP/localhost".
    [[nodiscard]] std::filesystem::path keytabOf(const std::string &service);

    /// The person at this machine gets a ticket, as at a login to the desktop.
    void logIn(const std::string &person, const std::string &password);
    void logOut();

private:
    void writeConfiguration(int port) const;
    void administer(const std::string &command) const;
    [[nodiscard]] bool start(int port);
    void run(const std::string &line) const;

    [[nodiscard]] std::string path(const std::string &file) const { return m_folder.file(file); }

    TemporaryFolder m_folder;
    std::unique_ptr<LoopbackDaemon> m_centre;
};
