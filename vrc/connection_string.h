// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vrc {

struct ProxySettings
{
    std::string host; ///< as it stands in an address: an IPv6 address in brackets
    std::uint16_t port = 0;
    std::string user; ///< empty: no credentials
    std::string password;

    bool operator==(const ProxySettings &) const = default;
};

/// What a connection string says.
struct ConnectionSettings
{
    std::string host; ///< as it stands in an address: an IPv6 address in brackets
    std::uint16_t port = 0;
    std::optional<ProxySettings> proxy;
    bool ssl = false;
    bool singleSignOn = false;
    std::string principal; ///< service/host of the server
    std::string application;
    std::string user;
    std::string password;
    std::string openProcedure;
    std::string closeProcedure;
    std::string socketLog; ///< path; empty: no log
    std::chrono::seconds connectTimeout{30};
};

/// Reads Key="value" pairs separated by single blanks. Nothing is escaped: a value ends at a double quote
/// which the end follows, or a blank and a known Key=" that has not stood yet. The server stands as
///
///     proxy::http://host:port(user;password)::host:port
///
/// where the part up to the second "::" may be missing and so may the credentials, which end at the last
/// ")::". No value for anything else: unknown keys, no server, ports outside of 1 to 65535, a switch that is
/// neither YES nor NO, a time-out outside of 1 to 3600 seconds, hosts with characters that no host has, bytes
/// that are not UTF-8.
[[nodiscard]] std::optional<ConnectionSettings> parseConnectionString(std::string_view text);

} // namespace vrc
