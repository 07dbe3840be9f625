// SPDX-License-Identifier: MIT
#pragma once

#include "appserver/ClientConnection.h"
#include "appserver/server_files.h"

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <thread>

namespace appserver {

class HttpSite;
class TlsSettings;

/// The open connections of all listeners, a thread each.
class ConnectionSet
{
public:
    /// A thread is going to be started for a connection; the number of them, with this one.
    std::size_t enter();
    /// The last thing that such a thread does.
    void leave();

    void add(ClientConnection *connection);
    void remove(ClientConnection *connection);
    /// Waits until the running requests are answered, at most for the time given, then cuts the rest off.
    void closeAll(std::chrono::milliseconds patience);

    [[nodiscard]] bool isClosing() const { return m_closing; }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::size_t m_threads = 0;
    std::set<ClientConnection *> m_connections;
    std::atomic<bool> m_closing{false};
};

/// What a listener needs to know of the configuration, asked for with each connection.
struct ConnectionRules
{
    ConnectionLimits limits;
    std::size_t maxConnections = 1000;
};

/// Accepts connections on one port and serves each on a thread of its own.
class Listener
{
public:
    /// Binds at once; port 0 takes any free one. tls may be null: plain. Throws std::runtime_error.
    Listener(const std::string &address, int port, HttpSite &site, const TlsSettings *tls,
             ConnectionSet &connections, std::function<ConnectionRules()> rules);
    ~Listener();
    Listener(const Listener &) = delete;
    Listener &operator=(const Listener &) = delete;

    [[nodiscard]] int port() const { return m_port; }

    void start();
    /// No further connection is accepted.
    void stop();

private:
    void acceptConnections();
    void startThread(UniqueFd socket);
    void serve(UniqueFd socket, const ConnectionRules &rules, bool overload) const;
    void serveRequests(ClientConnection &connection) const;

    UniqueFd m_socket;
    UniqueFd m_wake; ///< an event that ends the accepting thread
    int m_port = 0;
    HttpSite &m_site;
    const TlsSettings *m_tls;
    ConnectionSet &m_connections;
    std::function<ConnectionRules()> m_rules;
    std::thread m_thread;
};

} // namespace appserver
