// SPDX-License-Identifier: MIT
#include "appserver/single_sign_on.h"

#include "appserver/AppServices.h"
#include "appserver/ClientConnection.h"
#include "appserver/HttpSite.h"
#include "appserver/negotiate.h"
#include "appserver/server_log.h"

#include <openssl/evp.h>
#include <strings.h>

namespace appserver {

namespace {

using Outcome = Negotiation::Outcome;

constexpr std::string_view scheme = "Negotiate ";
constexpr std::size_t tokenMaxCharacters = 8192;

std::string base64Of(std::string_view bytes)
{
    std::string text((bytes.size() + 2) / 3 * 4 + 1, '\0'); // EVP ends it with a zero byte
    const auto *from = reinterpret_cast<const unsigned char *>(bytes.data());
    auto *to = reinterpret_cast<unsigned char *>(text.data());
    const int length = EVP_EncodeBlock(to, from, static_cast<int>(bytes.size()));
    text.resize(static_cast<std::size_t>(length));
    return text;
}

std::string bytesOfBase64(std::string_view text)
{
    if (text.empty() || text.size() % 4 != 0) {
        return {};
    }
    std::string bytes(text.size() / 4 * 3, '\0');
    const auto *from = reinterpret_cast<const unsigned char *>(text.data());
    auto *to = reinterpret_cast<unsigned char *>(bytes.data());
    const int length = EVP_DecodeBlock(to, from, static_cast<int>(text.size()));
    const std::size_t padding = text.ends_with("==") ? 2 : text.ends_with('=') ? 1 : 0;
    bytes.resize(length < 0 ? 0 : static_cast<std::size_t>(length) - padding);
    return bytes;
}

/// Takes the next token of the negotiation on this connection, or the first of a new one.
Outcome takeToken(const std::string &authorization, AppServices &services)
{
    std::unique_ptr<Negotiation> &negotiation = ClientConnection::current()->negotiation();
    if (!negotiation || !negotiation->isGoingOn()) {
        negotiation = std::make_unique<Negotiation>(services.configuration()->singleSignOn.keytab,
                                                    services.replayCache);
    }
    const Outcome outcome = negotiation->take(tokenOf(authorization));
    if (outcome == Outcome::refused) {
        logLine("single sign-on refused: " + negotiation->reason());
    }
    return outcome;
}

std::optional<std::string> userOf(const Negotiation &negotiation, const AppServices &services)
{
    std::optional<std::string> user =
        userOfPrincipal(negotiation.principal(), services.configuration()->singleSignOn.realm);
    if (!user) {
        logLine("single sign-on refused: " + forLog(negotiation.principal()) + " is no user of this server");
    }
    return user;
}

void answerWithToken(httplib::Response &response, int status, const std::string &token)
{
    response.status = status;
    response.set_header("WWW-Authenticate", token.empty() ? "Negotiate" : "Negotiate " + base64Of(token));
}

} // namespace

void answerGreeting(const httplib::Request &request, httplib::Response &response, AppServices &services)
{
    response.status = 204;
    if (!services.configuration()->singleSignOn.isOn() || !request.has_header("Authorization")) {
        return;
    }
    const Outcome outcome = takeToken(request.get_header_value("Authorization"), services);
    const Negotiation &negotiation = *ClientConnection::current()->negotiation();
    if (outcome == Outcome::goesOn) {
        answerWithToken(response, 401, negotiation.reply());
    } else if (outcome == Outcome::refused || !userOf(negotiation, services)) {
        answerWithToken(response, 401, {});
    } else {
        answerWithToken(response, 204, negotiation.reply());
        response.set_header("Persistent-Auth", ClientConnection::current()->isTls() ? "true" : "false");
    }
}

std::optional<std::string> personOf(const httplib::Request &request, AppServices &services)
{
    const ClientConnection *connection = ClientConnection::current();
    if (request.has_header("Authorization")) {
        if (takeToken(request.get_header_value("Authorization"), services) != Outcome::accepted) {
            return std::nullopt;
        }
    } else if (!connection->isTls() || !connection->negotiation()) {
        return std::nullopt;
    }
    return userOf(*connection->negotiation(), services);
}

void demandTicket(httplib::Response &response)
{
    refuse(response, 401);
    response.set_header("WWW-Authenticate", "Negotiate");
}

std::optional<std::string> userOfPrincipal(std::string_view principal, std::string_view realm)
{
    const auto at = principal.rfind('@');
    if (at == std::string_view::npos || realm.empty() || principal.substr(at + 1) != realm) {
        return std::nullopt;
    }
    const std::string_view name = principal.substr(0, at);
    if (name.find_first_of("/@\\") != std::string_view::npos || !UserStore::isUserName(name)) {
        return std::nullopt;
    }
    return std::string(name);
}

std::string tokenOf(std::string_view authorization)
{
    if (authorization.size() > tokenMaxCharacters || authorization.size() < scheme.size() ||
        ::strncasecmp(authorization.data(), scheme.data(), scheme.size()) != 0) {
        return {};
    }
    return bytesOfBase64(authorization.substr(scheme.size()));
}

} // namespace appserver
