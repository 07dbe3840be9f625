// SPDX-License-Identifier: MIT
#include "appserver/portal_answers.h"

#include "appserver/ClientConnection.h"
#include "appserver/ini_sections.h"

namespace appserver {

namespace {

/// Browsers take a cookie of this name over TLS alone.
std::string cookieName(std::string_view name)
{
    return (ClientConnection::current()->isTls() ? "__Secure-" : "") + std::string(name);
}

} // namespace

const char *const pagePolicy =
    "default-src 'none'; style-src 'self'; img-src 'self'; object-src 'self'; "
    "frame-src 'self'; form-action 'self'; base-uri 'none'; frame-ancestors 'none'";

void setCommonHeaders(httplib::Response &response, const char *contentSecurityPolicy)
{
    response.set_header("Content-Security-Policy", contentSecurityPolicy);
    response.set_header("Referrer-Policy", "no-referrer");
    response.set_header("X-Content-Type-Options", "nosniff");
    response.set_header("Cross-Origin-Resource-Policy", "same-origin");
    response.set_header("Permissions-Policy", "camera=(), microphone=(), geolocation=()");
    response.set_header("Cache-Control", "no-store");
}

void setPage(httplib::Response &response, int status, const std::string &html)
{
    response.status = status;
    setCommonHeaders(response, pagePolicy);
    response.set_header("Cross-Origin-Opener-Policy", "same-origin");
    response.set_header("X-Frame-Options", "DENY");
    response.set_content(html, "text/html; charset=utf-8");
}

void redirect(httplib::Response &response, const std::string &path)
{
    setCommonHeaders(response, pagePolicy);
    response.set_redirect(path, 303);
}

void setCookie(httplib::Response &response, std::string_view name, std::string_view value,
               std::string_view path)
{
    std::string cookie = cookieName(name) + '=' + std::string(value) + "; Path=" + std::string(path);
    cookie += "; HttpOnly; SameSite=Strict";
    cookie += ClientConnection::current()->isTls() ? "; Secure" : "";
    cookie += value.empty() ? "; Max-Age=0" : "";
    response.set_header("Set-Cookie", cookie);
}

std::string cookieOf(const httplib::Request &request, std::string_view name)
{
    std::string_view rest;
    const std::string header = request.get_header_value("Cookie");
    const std::string wanted = cookieName(name) + '=';
    for (rest = header; !rest.empty();) {
        const std::string_view cookie = trimmed(rest.substr(0, rest.find(';')));
        rest.remove_prefix(std::min(rest.find(';'), rest.size() - 1) + 1);
        if (cookie.starts_with(wanted)) {
            return std::string(cookie.substr(wanted.size()));
        }
    }
    return {};
}

bool comesFromElsewhere(const httplib::Request &request)
{
    const std::string site = request.get_header_value("Sec-Fetch-Site");
    return !site.empty() && site != "same-origin";
}

} // namespace appserver
