// SPDX-License-Identifier: MIT
#pragma once

#include "tests/support/TemporaryFolder.h"

#include <sys/types.h>

#include <cstddef>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

/// A vrserver of its own in a temporary folder, on free ports of the loopback interface, with TLS and
/// without. It is ended, and the folder removed, with this object.
class ServerProcess
{
public:
    ServerProcess() : ServerProcess({"--plain-port", "0", "--plain-portal-port", "0"}) {}

    /// With these options beside the data folder and free ports for TLS. Throws std::runtime_error when the
    /// server does not start, as whatever needs a running one.
    explicit ServerProcess(std::vector<std::string> options);

    ServerProcess(const ServerProcess &) = delete;
    ServerProcess &operator=(const ServerProcess &) = delete;

    /// A server that does not end well ends the test: a crash, or a report of a sanitizer, must not go by
    /// unnoticed.
    ~ServerProcess();

    [[nodiscard]] std::string host() const { return "127.0.0.1"; }

    [[nodiscard]] int port() const { return portOf("application server"); }

    [[nodiscard]] int plainPort() const { return portOf("application server without TLS"); }

    [[nodiscard]] int portalPort() const { return portOf("portal"); }

    [[nodiscard]] int plainPortalPort() const { return portOf("portal without TLS"); }

    /// server:port;application:directory
    [[nodiscard]] std::string directory() const { return value("server directory"); }

    /// The PEM file that makes the server's certificate trusted.
    [[nodiscard]] std::string authority() const { return value("certificate authority"); }

    [[nodiscard]] std::string user() const { return value("demo user"); }

    [[nodiscard]] std::string password() const { return value("demo password"); }

    /// The arguments that log the demo user in with a command.
    [[nodiscard]] std::string login() const;

    [[nodiscard]] std::filesystem::path data() const { return m_folder.path() / "data"; }

    [[nodiscard]] pid_t pid() const { return m_pid; }

    /// What the server printed at its last start.
    [[nodiscard]] const std::string &announcement() const { return m_announcement; }

    /// Appends to vrserver.ini (the last value of a setting holds) and waits until the server has read it.
    void configure(const std::string &text);

    /// The fields of each stored document, as `vrserver documents` prints them: identifier, state, owner,
    /// print mode, format, bytes, copies, paper, colour, duplex, staple, file name, note.
    [[nodiscard]] std::vector<std::vector<std::string>> documents() const;

    /// The file of a document as documents() describes it.
    [[nodiscard]] std::filesystem::path documentFile(const std::vector<std::string> &document) const;

    /// The bytes of a stored plain text, by its identifier; empty when there is none.
    [[nodiscard]] std::string storedText(const std::string &identifier) const;

    void addUser(const std::string &name, const std::string &password) const;

    /// Ends the server as an administrator would. The exit status, or minus the signal that ended it.
    int terminate();

    /// Ends the server as somebody at its terminal would.
    int interrupt();

    /// Ends the server as a power failure would.
    int kill();

    /// Starts it again in the same folder; the ports are other ones. User and password stay.
    void start();

    /// What the server wrote on standard error.
    [[nodiscard]] std::string log() const;

    [[nodiscard]] std::string accessLog() const;

private:
    void readDescription(int fd);
    [[nodiscard]] std::string value(const std::string &name) const;
    [[nodiscard]] int portOf(const std::string &name) const;
    [[nodiscard]] std::size_t countInLog(const std::string &text) const;
    std::string administer(std::vector<std::string> words, const std::string &input) const;
    int end(int signal);

    TemporaryFolder m_folder;
    std::vector<std::string> m_options;
    std::string m_announcement;
    std::map<std::string, std::string> m_description;
    pid_t m_pid = -1;
};
