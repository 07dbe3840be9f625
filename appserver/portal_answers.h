// SPDX-License-Identifier: MIT
#pragma once

#include <httplib.h>

#include <string>
#include <string_view>

/// What the portal's answers have in common: their headers and cookies.
namespace appserver {

/// No page of the portal is longer, and no form that a browser sends to it.
inline constexpr std::size_t formMaxBytes = 16 * 1024;

/// For pages: no script runs, nothing comes from elsewhere, nobody frames the page.
extern const char *const pagePolicy;

void setCommonHeaders(httplib::Response &response, const char *contentSecurityPolicy);
void setPage(httplib::Response &response, int status, const std::string &html);
/// 303: the browser gets that path.
void redirect(httplib::Response &response, const std::string &path);

/// A cookie for one path and what lies below it, unreadable for scripts and unsent by foreign pages; over TLS
/// the browser takes and sends it over TLS alone. An empty value removes it.
void setCookie(httplib::Response &response, std::string_view name, std::string_view value,
               std::string_view path);
/// Empty when there is none.
[[nodiscard]] std::string cookieOf(const httplib::Request &request, std::string_view name);

/// A form that a page of another site sent says so in its headers.
[[nodiscard]] bool comesFromElsewhere(const httplib::Request &request);

} // namespace appserver
