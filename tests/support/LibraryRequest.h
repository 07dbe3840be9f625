// SPDX-License-Identifier: MIT
#pragma once

#include "vrc/include/vrc.h"

#include <array>
#include <string>
#include <string_view>

/// A request of the library, given to it as a caller would, closed with this object.
class LibraryRequest
{
public:
    explicit LibraryRequest(const std::string &connection) : m_request(VrOpenRequest(connection.c_str())) {}

    LibraryRequest(const LibraryRequest &) = delete;
    LibraryRequest &operator=(const LibraryRequest &) = delete;

    ~LibraryRequest() { VrCloseRequest(m_request); }

    [[nodiscard]] bool isOpen() const { return m_request != nullptr; }

    /// One command; its result is then in result().
    bool command(const std::string &line)
    {
        std::array<char, 8192> buffer{};
        const int status = VrCommand(m_request, line.c_str(), buffer.data(), buffer.size(), nullptr);
        m_result = buffer.data();
        return status == 1;
    }

    /// Like the program: once more, at once, after a network error.
    bool insist(const std::string &line)
    {
        return command(line) || (error() == "LOCAL/REQUEST/104" && command(line));
    }

    [[nodiscard]] const std::string &result() const { return m_result; }

    /// SERVICE/CLASS/CODE of the last command that failed.
    [[nodiscard]] std::string error() const
    {
        return ask("SERVICE") + "/" + ask("CLASS") + "/" + ask("CODE");
    }

    [[nodiscard]] std::string description() const { return ask("DESCRIPTION"); }

private:
    [[nodiscard]] std::string ask(const std::string &what) const
    {
        std::array<char, 8192> buffer{};
        const std::string line = "VR_CMD=|LOCAL:REQUEST:ERROR_INFO| ERROR_STRING=|" + what + "|";
        // Asking changes nothing, so that it can be repeated where memory was short.
        for (int tries = 0; tries < 2; ++tries) {
            if (VrCommand(m_request, line.c_str(), buffer.data(), buffer.size(), nullptr) == 1) {
                break;
            }
        }
        return buffer.data();
    }

    void *m_request;
    std::string m_result;
};

/// The connection string of a plain connection.
inline std::string plainConnection(int port, const std::string &more = {})
{
    return "Unicode=\"YES\" Server=\"127.0.0.1:" + std::to_string(port) +
           "\" Application=\"upload\" User=\"\" Password=\"\"" + more + " ConnectionTimeOut=\"5\"";
}
