// SPDX-License-Identifier: MIT
#pragma once

#include "appserver/ini_sections.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

/// Everything that `vrserver.ini` says, checked and with defaults filled in. A configuration never changes: a
/// reload makes a new one.
namespace appserver {

struct ServerLimits
{
    std::uint64_t requestBytes = 2'200'000'000;         ///< body of one request
    std::uint64_t fileBytes = 2'147'483'647;            ///< one file object, plain or compressed
    std::uint64_t sessionFileBytes = 4'294'967'296;     ///< all file objects of a session
    std::uint64_t sessionMemoryBytes = 4 * 1024 * 1024; ///< all other objects and variables of a session
    std::size_t sessionObjects = 64;
    std::size_t sessionVariables = 64;
    std::size_t sessions = 2000;
    std::size_t connections = 1000;
    std::uint64_t bodyBytesPerSecond = 128; ///< a request body that comes slower is cut off
    std::chrono::seconds bodyRateWindow{30};
    std::chrono::seconds headerTime{20}; ///< for the TLS handshake, and for a request's header
    std::chrono::seconds sessionIdle{1800};
    int failedLogins = 10; ///< of one user from one address within failedLoginWindow
    std::chrono::seconds failedLoginWindow{300};
};

struct ListenSettings
{
    std::string address = "127.0.0.1";
    int port = 1082;
    int portalPort = 1083;
    int plainPort = -1; ///< -1: none, 0: any free one
    int plainPortalPort = -1;
    std::string publicName; ///< the name under which clients reach this server; never empty once checked
};

struct ApplicationSettings
{
    std::string user;
    std::string password;
    bool loginWanted = false;
};

struct DirectorySettings
{
    std::vector<std::pair<std::string, std::string>> parameters;
    std::vector<std::string> directories;
    std::vector<std::string> topics;
};

struct ContainerSettings
{
    std::vector<std::string> printingModes;
    std::string tunnelMode;
    std::vector<std::vector<std::string>> tunnelServices; ///< rows of name, label, profile
    std::string tunnelServiceName;
    std::string tunnelServiceProfile;
};

struct PortalSettings
{
    std::string title = "Varek Print";
    std::vector<std::string> papers{"A4", "A3", "A5", "Letter", "Legal"};
    int copies = 99;
    bool colour = true;
    bool duplex = true;
    bool staple = true;
};

struct SingleSignOnSettings
{
    std::string keytab; ///< absolute path
    std::string realm;  ///< whose people are this server's users

    [[nodiscard]] bool isOn() const { return !realm.empty(); }
};

class ServerConfiguration
{
public:
    /// Throws ConfigurationError, which names the section and the setting.
    [[nodiscard]] static ServerConfiguration parse(std::string_view text);

    ListenSettings listen;
    ServerLimits limits;
    PortalSettings portal;
    SingleSignOnSettings singleSignOn;
    int keepDocumentDays = 7;
    std::map<std::string, ApplicationSettings, std::less<>> applications;
    std::map<std::string, DirectorySettings, std::less<>> directories;
    std::map<std::string, ContainerSettings, std::less<>> containers;
};

/// The addresses that a running server really has; configured values name them as {address}, {port},
/// {portal}.
struct OwnAddresses
{
    std::string address;
    int port = 0;
    std::string portalUrl; ///< without a slash at the end
};

[[nodiscard]] std::string withOwnAddresses(std::string_view value, const OwnAddresses &own);

} // namespace appserver
