// SPDX-License-Identifier: MIT
#include "vrc/connection_string.h"

#include "wire/fields.h"
#include "wire/utf8.h"

#include <algorithm>
#include <array>

namespace vrc {
namespace {

constexpr std::size_t maxConnectionBytes = 65536;

enum Key : std::size_t
{
    keyUnicode,
    keyServer,
    keySso,
    keySsoPrincipal,
    keyApplication,
    keyUser,
    keyPassword,
    keySsl,
    keyOpen,
    keyClose,
    keySocketLog,
    keyConnectionTimeOut,
    keyCount,
};

constexpr std::array<std::string_view, keyCount> keys = {
    "Unicode",  "Server", "Sso",  "SsoPrincipal", "Application", "User",
    "Password", "Ssl",    "Open", "Close",        "SocketLog",   "ConnectionTimeOut",
};

using Values = std::array<std::optional<std::string_view>, keyCount>;

/// The key of KEY=" at the front of the text, when it has no value yet.
std::optional<Key> keyAtFront(std::string_view text, const Values &values)
{
    for (std::size_t key = 0; key < keyCount; ++key) {
        const std::string_view name = keys[key];
        if (!values[key] && text.starts_with(name) && text.substr(name.size()).starts_with("=\"")) {
            return static_cast<Key>(key);
        }
    }
    return std::nullopt;
}

/// The position of the double quote that ends the value at the front of the text.
std::size_t endOfValue(std::string_view text, const Values &values)
{
    for (std::size_t at = text.find('"'); at != std::string_view::npos; at = text.find('"', at + 1)) {
        const std::string_view behind = text.substr(at + 1);
        if (behind.empty() || (behind.front() == ' ' && keyAtFront(behind.substr(1), values))) {
            return at;
        }
    }
    return std::string_view::npos;
}

std::optional<Values> splitPairs(std::string_view text)
{
    Values values;
    while (true) {
        const std::optional<Key> key = keyAtFront(text, values);
        if (!key) {
            return std::nullopt;
        }
        text.remove_prefix(keys[*key].size() + 2);
        values[*key] = std::string_view();
        const std::size_t end = endOfValue(text, values);
        if (end == std::string_view::npos) {
            return std::nullopt;
        }
        values[*key] = text.substr(0, end);
        if (end + 1 == text.size()) {
            return values;
        }
        text.remove_prefix(end + 2);
    }
}

std::optional<bool> parseSwitch(std::optional<std::string_view> value)
{
    if (!value || *value == "NO") {
        return false;
    }
    return *value == "YES" ? std::optional(true) : std::nullopt;
}

std::optional<std::uint16_t> parsePort(std::string_view text)
{
    const std::optional<std::int64_t> port = wire::parseInteger(text);
    if (!port || *port < 1 || *port > 65535) {
        return std::nullopt;
    }
    return static_cast<std::uint16_t>(*port);
}

bool isHostCharacter(char c)
{
    const bool isAscii = static_cast<unsigned char>(c) < 0x80;
    const bool isLetter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
    return !isAscii || isLetter || (c >= '0' && c <= '9') || c == '.' || c == '-' || c == '_';
}

bool isAddress6Character(char c)
{
    return isHostCharacter(c) || c == ':' || c == '%';
}

/// A host as it stands in an address; empty when it is none.
std::string hostOf(std::string_view text)
{
    const bool isBracketed = text.starts_with('[') && text.ends_with(']') && text.size() > 2;
    if (isBracketed) {
        text = text.substr(1, text.size() - 2);
    }
    if (isBracketed || text.find(':') != std::string_view::npos) {
        const bool isAddress = std::all_of(text.begin(), text.end(), isAddress6Character);
        return isAddress ? "[" + std::string(text) + "]" : "";
    }
    return std::all_of(text.begin(), text.end(), isHostCharacter) ? std::string(text) : "";
}

struct HostAndPort
{
    std::string host;
    std::uint16_t port = 0;
};

std::optional<HostAndPort> parseHostAndPort(std::string_view text)
{
    const std::size_t colon = text.rfind(':');
    if (colon == std::string_view::npos) {
        return std::nullopt;
    }
    const std::optional<std::uint16_t> port = parsePort(text.substr(colon + 1));
    std::string host = hostOf(text.substr(0, colon));
    if (!port || host.empty()) {
        return std::nullopt;
    }
    return HostAndPort{std::move(host), *port};
}

std::optional<ProxySettings> parseProxy(std::string_view address, std::string_view credentials)
{
    const std::optional<HostAndPort> parsed = parseHostAndPort(address);
    const std::size_t semicolon = credentials.find(';');
    if (!parsed || (!credentials.empty() && semicolon == std::string_view::npos)) {
        return std::nullopt;
    }
    ProxySettings proxy{parsed->host, parsed->port, {}, {}};
    if (!credentials.empty()) {
        proxy.user = credentials.substr(0, semicolon);
        proxy.password = credentials.substr(semicolon + 1);
    }
    return proxy;
}

/// The end of a proxy's address without credentials: the "::" that follows its port. An IPv6 address may hold
/// "::" before that.
std::size_t endOfProxyAddress(std::string_view text)
{
    for (std::size_t at = text.find("::"); at != std::string_view::npos; at = text.find("::", at + 1)) {
        if (parseHostAndPort(text.substr(0, at))) {
            return at;
        }
    }
    return std::string_view::npos;
}

bool takeProxy(std::string_view &server, ConnectionSettings &settings)
{
    constexpr std::string_view prefix = "proxy::http://";
    if (!server.starts_with(prefix)) {
        return true;
    }
    server.remove_prefix(prefix.size());
    const std::size_t opening = server.find('(');
    const std::size_t closing = server.rfind(")::");
    if (opening != std::string_view::npos && closing != std::string_view::npos && opening < closing) {
        settings.proxy =
            parseProxy(server.substr(0, opening), server.substr(opening + 1, closing - opening - 1));
        server.remove_prefix(closing + 3);
        return settings.proxy.has_value();
    }
    const std::size_t end = endOfProxyAddress(server);
    if (end == std::string_view::npos) {
        return false;
    }
    settings.proxy = parseProxy(server.substr(0, end), {});
    server.remove_prefix(end + 2);
    return settings.proxy.has_value();
}

bool takeServer(std::optional<std::string_view> value, ConnectionSettings &settings)
{
    if (!value || !takeProxy(*value, settings)) {
        return false;
    }
    std::optional<HostAndPort> server = parseHostAndPort(*value);
    if (!server) {
        return false;
    }
    settings.host = std::move(server->host);
    settings.port = server->port;
    return true;
}

bool takeTimeout(std::optional<std::string_view> value, ConnectionSettings &settings)
{
    if (!value) {
        return true;
    }
    const std::optional<std::int64_t> seconds = wire::parseInteger(*value);
    if (!seconds || *seconds < 1 || *seconds > 3600) {
        return false;
    }
    settings.connectTimeout = std::chrono::seconds(*seconds);
    return true;
}

bool takeSwitches(const Values &values, ConnectionSettings &settings)
{
    const std::optional<bool> ssl = parseSwitch(values[keySsl]);
    const std::optional<bool> singleSignOn = parseSwitch(values[keySso]);
    settings.ssl = ssl.value_or(false);
    settings.singleSignOn = singleSignOn.value_or(false);
    return ssl && singleSignOn && parseSwitch(values[keyUnicode]);
}

} // namespace

std::optional<ConnectionSettings> parseConnectionString(std::string_view text)
{
    if (text.size() > maxConnectionBytes || !wire::isText(text)) {
        return std::nullopt;
    }
    const std::optional<Values> values = splitPairs(text);
    ConnectionSettings settings;
    if (!values || !takeServer((*values)[keyServer], settings) || !takeSwitches(*values, settings) ||
        !takeTimeout((*values)[keyConnectionTimeOut], settings)) {
        return std::nullopt;
    }
    settings.principal = (*values)[keySsoPrincipal].value_or("");
    settings.application = (*values)[keyApplication].value_or("");
    settings.user = (*values)[keyUser].value_or("");
    settings.password = (*values)[keyPassword].value_or("");
    settings.openProcedure = (*values)[keyOpen].value_or("");
    settings.closeProcedure = (*values)[keyClose].value_or("");
    settings.socketLog = (*values)[keySocketLog].value_or("");
    return settings;
}

} // namespace vrc
