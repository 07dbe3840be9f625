// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

/// The Kerberos side of single sign-on: SPNEGO (RFC 4178) through GSSAPI. A build without GSSAPI refuses
/// every ticket.
namespace appserver {

/// False in a build without GSSAPI.
[[nodiscard]] bool canNegotiate();

/// One client proving who it is, in one step or in several.
class Negotiation
{
public:
    enum class Outcome
    {
        accepted,
        goesOn, ///< the client has to answer reply()
        refused
    };

    /// The keytab holds the server's key; the replay cache is a file that remembers the tickets that came.
    Negotiation(const std::filesystem::path &keytab, const std::filesystem::path &replayCache);
    ~Negotiation();
    Negotiation(const Negotiation &) = delete;
    Negotiation &operator=(const Negotiation &) = delete;

    /// The client's next token, as bytes. After an outcome other than goesOn it takes no further one.
    [[nodiscard]] Outcome take(std::string_view token);

    /// The client has been answered and has not come back yet.
    [[nodiscard]] bool isGoingOn() const;

    /// The bytes for the client; may be empty.
    [[nodiscard]] const std::string &reply() const { return m_reply; }

    /// Once accepted: name@REALM, with special characters escaped by a backslash.
    [[nodiscard]] const std::string &principal() const { return m_principal; }

    /// Once refused: why, for the log.
    [[nodiscard]] const std::string &reason() const { return m_reason; }

private:
    struct State;

    std::unique_ptr<State> m_state;
    std::string m_reply;
    std::string m_principal;
    std::string m_reason;
};

} // namespace appserver
