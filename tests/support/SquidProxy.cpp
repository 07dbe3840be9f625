// SPDX-License-Identifier: MIT
#include "tests/e2e/send/SquidProxy.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr char squid[] = "/usr/sbin/squid";

sockaddr_in loopback(int port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

int freePort()
{
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = loopback(0);
    socklen_t size = sizeof address;
    EXPECT_EQ(::bind(socket, reinterpret_cast<sockaddr *>(&address), size), 0);
    ::getsockname(socket, reinterpret_cast<sockaddr *>(&address), &size);
    ::close(socket);
    return ntohs(address.sin_port);
}

bool accepts(int port)
{
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_in address = loopback(port);
    const bool connected =
        ::connect(socket, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
    ::close(socket);
    return connected;
}

} // namespace

SquidProxy::SquidProxy(const std::string &user, const std::string &password) : m_port(freePort())
{
    EXPECT_EQ(::access(squid, X_OK), 0) << "needs the package squid";
    writeConfiguration(user, password);
    start();
}

SquidProxy::~SquidProxy()
{
    ::kill(m_pid, SIGTERM); // it gives its shared memory back

    ::waitpid(m_pid, nullptr, 0);
}

void SquidProxy::writeConfiguration(const std::string &user, const std::string &password) const
{
    // Started by root, squid goes on as a user of its own, who must reach these files.
    std::filesystem::permissions(m_folder.path().string(), std::filesystem::perms::all);
    std::ofstream out(m_folder.file("squid.conf"));
    out << "http_port 127.0.0.1:" << m_port
        << "\npid_filename none\ncache deny all\nshutdown_lifetime 0 seconds\n"
        << "access_log none\ncache_log " << m_folder.file("cache.log") << "\nlogfile_rotate 0\ncoredump_dir "
        << m_folder.path().string() << "\npinger_enable off\nvisible_hostname localhost\n";
    if (!user.empty()) {
        const std::string users = m_folder.file("users");
        const std::string command =
            "htpasswd -bc '" + users + "' '" + user + "' '" + password + "' 2>/dev/null";
        EXPECT_EQ(std::system(command.c_str()), 0) << "needs the package apache2-utils";
        out << "auth_param basic program /usr/lib/squid/basic_ncsa_auth " << users
            << "\nacl known proxy_auth REQUIRED\nhttp_access allow known\n";
    } else {
        out << "http_access allow localhost\n";
    }
    out << "http_access deny all\n";
}

void SquidProxy::start()
{
    const std::string configuration = m_folder.file("squid.conf");
    const std::string name = "varek" + std::to_string(m_port); // instances of one name share memory
    m_pid = ::fork();
    if (m_pid == 0) {
        ::execl(squid, squid, "-N", "-n", name.c_str(), "-f", configuration.c_str(), nullptr);
        ::_exit(127);
    }
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!accepts(m_port) && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    EXPECT_TRUE(accepts(m_port)) << "squid did not start";
}
