// SPDX-License-Identifier: MIT
#include "tests/support/SquidProxy.h"

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

namespace {

constexpr char squid[] = "/usr/sbin/squid";

void need(bool condition, const char *package)
{
    if (!condition) {
        throw std::runtime_error(std::string("needs the package ") + package);
    }
}

/// The file of a user and a password for squid's own check of basic authentication.
void writeHashed(const std::string &file, const std::string &user, const std::string &password)
{
    const std::string command = "htpasswd -bc '" + file + "' '" + user + "' '" + password + "' 2>/dev/null";
    need(std::system(command.c_str()) == 0, "apache2-utils");
}

} // namespace

SquidProxy::SquidProxy(Authentication authentication, const std::string &user, const std::string &password)
{
    need(::access(squid, X_OK) == 0, "squid");
    // Started by root, squid goes on as a user of its own, who must reach these files.
    std::filesystem::permissions(m_folder.path(), std::filesystem::perms::all);
    const std::string configuration = writeConfiguration(authentication, user, password);
    const std::string name = "varek" + std::to_string(m_port); // instances of one name share memory
    m_squid = std::make_unique<LoopbackDaemon>(
        squid, std::vector<std::string>{"-N", "-n", name, "-f", configuration});
    if (!m_squid->listensOn(m_port)) {
        throw std::runtime_error("squid does not start: " + m_folder.read("cache.log"));
    }
}

std::string SquidProxy::writeConfiguration(Authentication authentication, const std::string &user,
                                           const std::string &password) const
{
    std::string text = "http_port 127.0.0.1:" + std::to_string(m_port) +
                       "\npid_filename none\ncache deny all\nshutdown_lifetime 0 seconds\naccess_log none\n"
                       "logfile_rotate 0\npinger_enable off\nnetdb_filename none\n"
                       "visible_hostname localhost\ncache_log " +
                       m_folder.file("cache.log") + "\ncoredump_dir " + m_folder.path().string() + "\n";
    const std::string users = m_folder.file("users");
    switch (authentication) {
    case Authentication::none:
        text += "http_access allow localhost\n";
        break;
    case Authentication::basic:
        writeHashed(users, user, password);
        text += "auth_param basic program /usr/lib/squid/basic_ncsa_auth " + users + "\n";
        break;
    case Authentication::digest:
        m_folder.write("users", user + ":" + password + "\n");
        text += "auth_param digest program /usr/lib/squid/digest_file_auth " + users +
                "\nauth_param digest realm test\n";
        break;
    }
    if (authentication != Authentication::none) {
        text += "acl known proxy_auth REQUIRED\nhttp_access allow known\n";
    }
    return m_folder.write("squid.conf", text + "http_access deny all\n");
}
