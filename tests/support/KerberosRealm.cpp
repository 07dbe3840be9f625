// SPDX-License-Identifier: MIT
#include "tests/support/KerberosRealm.h"

#include <unistd.h>

#include <array>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <vector>

namespace {

constexpr char centre[] = "/usr/sbin/krb5kdc";
constexpr std::array variables = {"KRB5_CONFIG", "KRB5_KDC_PROFILE", "KRB5CCNAME", "KRB5RCACHENAME"};

void need(const char *program, const char *package)
{
    if (::access(program, X_OK) != 0) {
        throw std::runtime_error(std::string("needs the package ") + package);
    }
}

} // namespace

KerberosRealm::KerberosRealm()
{
    need(centre, "krb5-kdc");
    need("/usr/sbin/kadmin.local", "krb5-admin-server");
    need("/usr/bin/kinit", "krb5-user");
    writeConfiguration(0);
    ::setenv("KRB5_CONFIG", path("krb5.conf").c_str(), 1);
    ::setenv("KRB5_KDC_PROFILE", path("kdc.conf").c_str(), 1);
    ::setenv("KRB5CCNAME", ("FILE:" + path("tickets")).c_str(), 1);
    ::setenv("KRB5RCACHENAME", ("file2:" + path("replays")).c_str(), 1);
    run("/usr/sbin/kdb5_util create -s -r " + std::string(name) + " -P master-secret");
    // A port that was free a moment ago may be somebody else's by now.
    for (int tries = 0; tries < 10; ++tries) {
        const int port = LoopbackDaemon::freePort();
        writeConfiguration(port);
        if (start(port)) {
            return;
        }
    }
    throw std::runtime_error("krb5kdc does not start: " + m_folder.read("kdc.log"));
}

KerberosRealm::~KerberosRealm()
{
    for (const char *variable : variables) {
        ::unsetenv(variable);
    }
}

void KerberosRealm::writeConfiguration(int port) const
{
    const std::string address = "127.0.0.1:" + std::to_string(port);
    const std::string realm = name;
    // What a host is called is taken from nobody but this file.
    std::ofstream(path("krb5.conf")) << "[libdefaults]\n default_realm = " << realm
                                     << "\n dns_lookup_kdc = false\n dns_lookup_realm = false\n"
                                        " dns_canonicalize_hostname = false\n rdns = false\n"
                                        " udp_preference_limit = 1\n[realms]\n "
                                     << realm << " = {\n  kdc = " << address << "\n }\n";
    std::ofstream(path("kdc.conf")) << "[kdcdefaults]\n kdc_listen = " << address
                                    << "\n kdc_tcp_listen = " << address << "\n[realms]\n " << realm
                                    << " = {\n  database_name = " << path("principal")
                                    << "\n  key_stash_file = " << path("stash")
                                    << "\n  acl_file = " << path("acl")
                                    << "\n }\n[logging]\n kdc = FILE:" << path("kdc.log")
                                    << "\n default = FILE:" << path("log") << '\n';
}

bool KerberosRealm::start(int port)
{
    m_centre =
        std::make_unique<LoopbackDaemon>(centre, std::vector<std::string>{"-n", "-P", path("kdc.pid")});
    return m_centre->listensOn(port);
}

void KerberosRealm::addPerson(const std::string &person, const std::string &password)
{
    administer("addprinc -pw " + password + " " + person);
}

std::filesystem::path KerberosRealm::keytabOf(const std::string &service)
{
    administer("addprinc -randkey " + service);
    administer("ktadd -k " + path("keytab") + " " + service);
    return path("keytab");
}

void KerberosRealm::logIn(const std::string &person, const std::string &password)
{
    run("printf '%s\\n' '" + password + "' | /usr/bin/kinit " + person);
}

void KerberosRealm::logOut()
{
    std::filesystem::remove(path("tickets"));
}

void KerberosRealm::administer(const std::string &command) const
{
    run("/usr/sbin/kadmin.local -r " + std::string(name) + " -q '" + command + "'");
}

void KerberosRealm::run(const std::string &line) const
{
    if (std::system(("{ " + line + "; } >'" + path("said") + "' 2>&1").c_str()) != 0) {
        throw std::runtime_error(line + ": " + m_folder.read("said"));
    }
}
