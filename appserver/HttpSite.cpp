// SPDX-License-Identifier: MIT
#include "appserver/HttpSite.h"

#include "appserver/ClientConnection.h"
#include "appserver/server_log.h"

#include <chrono>

namespace appserver {

namespace {

constexpr std::size_t pathMaxBytes = 256;
constexpr int keepAliveSeconds = 60;

using Clock = std::chrono::steady_clock;
thread_local Clock::time_point requestStart;

bool isAmbiguous(const httplib::Request &request)
{
    const auto lengths = request.get_header_value_count("Content-Length");
    const auto codings = request.get_header_value_count("Transfer-Encoding");
    return lengths + codings > 1 ||
           (codings == 1 && request.get_header_value("Transfer-Encoding") != "chunked") ||
           (lengths == 1 &&
            request.get_header_value("Content-Length").find_first_not_of("0123456789") != std::string::npos);
}

bool hasBody(const httplib::Request &request)
{
    return request.has_header("Transfer-Encoding") ||
           (request.has_header("Content-Length") && request.get_header_value("Content-Length") != "0");
}

/// The status to refuse the request with, 0 to go on.
int refusal(const httplib::Request &request, const HttpSite::PostFilter &takesPost)
{
    if (isAmbiguous(request) || request.path.size() > pathMaxBytes || request.ranges.size() > 1) {
        return 400;
    }
    if (request.method == "GET" || request.method == "HEAD") {
        return hasBody(request) ? 400 : 0;
    }
    if (request.method != "POST") {
        return 405;
    }
    if (!takesPost(request.path)) {
        return 404;
    }
    if (!hasBody(request) && !request.has_header("Content-Length")) {
        return 411;
    }
    return request.has_header("Content-Encoding") ? 415 : 0;
}

} // namespace

HttpSite::HttpSite(AccessLog &log, PostFilter takesPost) : m_log(log), m_takesPost(std::move(takesPost))
{
    // The library takes a server without a listening socket for one that is shutting down, and then sends no
    // content from a provider. The sockets are the listeners' business here.
    svr_sock_ = 0;
    set_keep_alive_max_count(requestsPerConnection);
    set_keep_alive_timeout(keepAliveSeconds);
    set_pre_routing_handler([this](const httplib::Request &request, httplib::Response &response) {
        return admit(request, response);
    });
    // The library's own handler would tell the client what the exception says.
    set_exception_handler(
        [](const httplib::Request &, httplib::Response &response, std::exception_ptr trouble) {
            try {
                std::rethrow_exception(std::move(trouble));
            } catch (const std::exception &exception) {
                logFailure("request failed", exception);
            } catch (...) {
                logLine("request failed");
            }
            response.headers.clear();
            response.body.clear();
            refuse(response, 500);
        });
    set_expect_100_continue_handler([](const httplib::Request &, httplib::Response &) { return 100; });
    set_logger([this](const httplib::Request &request, const httplib::Response &response) {
        const ClientConnection *connection = ClientConnection::current();
        const auto spent = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - requestStart);
        m_log.write({connection->remoteAddress(), request.method, request.path, response.status,
                     connection->bytesIn(), connection->bytesOut(), spent.count()});
    });
}

bool HttpSite::serve(ClientConnection &connection, bool isLast)
{
    requestStart = Clock::now();
    bool closed = false;
    const bool served = process_request(connection, isLast, closed, nullptr);
    const bool sent = connection.flush();
    // A header that could not be read to its end was answered with 400: what follows it is no request.
    return served && sent && !closed && !connection.closes() && !connection.isInHeader();
}

void HttpSite::serveOverload(ClientConnection &connection)
{
    static constexpr std::string_view answer = "HTTP/1.1 503 Service Unavailable\r\nContent-Length: 0\r\n"
                                               "Retry-After: 5\r\nConnection: close\r\n\r\n";
    static_cast<void>(connection.write(answer.data(), answer.size()));
    static_cast<void>(connection.flush());
    m_log.write({connection.remoteAddress(), "", "", 503, 0, answer.size(), 0});
}

HttpSite::HandlerResponse HttpSite::admit(const httplib::Request &request, httplib::Response &response) const
{
    ClientConnection::current()->startBody();
    const int status = refusal(request, m_takesPost);
    if (status == 0) {
        return HandlerResponse::Unhandled;
    }
    refuse(response, status);
    if (status == 405) {
        response.set_header("Allow", "GET, HEAD, POST");
    }
    return HandlerResponse::Handled;
}

bool readBody(const httplib::ContentReader &reader, std::size_t maxBytes, std::string &body,
              httplib::Response &response)
{
    const bool complete = reader([&](const char *bytes, std::size_t count) {
        body.append(bytes, count);
        return body.size() <= maxBytes;
    });
    if (!complete) {
        refuse(response, body.size() > maxBytes ? 413 : 400);
    }
    return complete;
}

void refuse(httplib::Response &response, int status)
{
    response.status = status;
    response.set_header("Connection", "close");
    ClientConnection::current()->closeAfterAnswer();
}

} // namespace appserver
