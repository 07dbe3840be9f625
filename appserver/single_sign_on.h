// SPDX-License-Identifier: MIT
#pragma once

#include <httplib.h>

#include <optional>
#include <string>
#include <string_view>

namespace appserver {

class AppServices;

/// The HTTP side of single sign-on, Negotiate of RFC 4559. A ticket counts for the request that brings it,
/// and over TLS for the connection: without TLS a proxy may give one connection to several clients.

/// `GET /vrc`: settles a negotiation whose first token comes with it, before any body is sent.
void answerGreeting(const httplib::Request &request, httplib::Response &response, AppServices &services);

/// The user whom the ticket of this request, or of its connection, proves. Call it once a request.
[[nodiscard]] std::optional<std::string> personOf(const httplib::Request &request, AppServices &services);

/// 401; the connection ends, since the body has not been read.
void demandTicket(httplib::Response &response);

/// The user whom a principal stands for: "alice" for "alice@REALM". Nobody of another realm, no service or
/// instance ("alice/admin"), and no name that a user of this server cannot have.
[[nodiscard]] std::optional<std::string> userOfPrincipal(std::string_view principal, std::string_view realm);

/// The token of an `Authorization` header: empty when it is not of Negotiate, too long or no base64.
[[nodiscard]] std::string tokenOf(std::string_view authorization);

} // namespace appserver
