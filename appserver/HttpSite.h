// SPDX-License-Identifier: MIT
#pragma once

#include <httplib.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace appserver {

class AccessLog;
class ClientConnection;

/// The HTTP side of a service. The HTTP library parses and writes; what it leaves open is closed here: a
/// request whose length is ambiguous, bodies where none belong, several byte ranges at once. No body is read
/// into memory by the library: every POST has a handler with a content reader, other methods with a body are
/// refused.
class HttpSite : public httplib::Server
{
public:
    /// True when the path takes a POST.
    using PostFilter = std::function<bool(std::string_view path)>;

    /// Then the connection is closed.
    static constexpr std::size_t requestsPerConnection = 10'000;

    HttpSite(AccessLog &log, PostFilter takesPost);

    /// Serves one request. False when the connection must be closed.
    [[nodiscard]] bool serve(ClientConnection &connection, bool isLast);

    /// Answers everything with 503: there are too many connections.
    void serveOverload(ClientConnection &connection);

private:
    HandlerResponse admit(const httplib::Request &request, httplib::Response &response) const;

    AccessLog &m_log;
    PostFilter m_takesPost;
};

/// Reads the whole body. False when it is longer than the limit, or was cut off; the response says so then.
[[nodiscard]] bool readBody(const httplib::ContentReader &reader, std::size_t maxBytes, std::string &body,
                            httplib::Response &response);

/// Answers and ends the connection: the rest of the body is not read.
void refuse(httplib::Response &response, int status);

} // namespace appserver
