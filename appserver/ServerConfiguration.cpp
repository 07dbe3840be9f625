// SPDX-License-Identifier: MIT
#include "appserver/ServerConfiguration.h"

#include "appserver/SectionReader.h"
#include "appserver/host_names.h"
#include "appserver/negotiate.h"
#include "wire/limits.h"

#include <algorithm>
#include <limits>

namespace appserver {

namespace {

std::vector<std::string> splitAt(std::string_view text, char separator)
{
    std::vector<std::string> parts;
    while (true) {
        const auto end = std::min(text.find(separator), text.size());
        parts.emplace_back(trimmed(text.substr(0, end)));
        if (end == text.size()) {
            return parts;
        }
        text.remove_prefix(end + 1);
    }
}

std::vector<std::string> nonEmptyParts(std::string_view text, char separator)
{
    std::vector<std::string> parts = splitAt(text, separator);
    std::erase_if(parts, [](const std::string &part) { return part.empty(); });
    return parts;
}

ListenSettings readListen(const IniSection &section)
{
    ListenSettings listen;
    SectionReader reader(section);
    reader.read("Listen", listen.address);
    reader.read("Port", listen.port, 0, 65535);
    reader.read("PortalPort", listen.portalPort, 0, 65535);
    reader.read("PlainPort", listen.plainPort, -1, 65535);
    reader.read("PlainPortalPort", listen.plainPortalPort, -1, 65535);
    reader.read("PublicName", listen.publicName);
    reader.finish();
    if (listen.address.empty()) {
        rejectSetting(section, "Listen", "an address is wanted");
    }
    return listen;
}

ServerLimits readLimits(const IniSection &section)
{
    constexpr auto noLimit = std::numeric_limits<std::uint64_t>::max();
    ServerLimits limits;
    SectionReader reader(section);
    reader.read("RequestBytes", limits.requestBytes, std::uint64_t{1}, noLimit);
    reader.read("FileBytes", limits.fileBytes, std::uint64_t{1}, std::uint64_t{2'147'483'647});
    reader.read("SessionFileBytes", limits.sessionFileBytes, std::uint64_t{1}, noLimit);
    reader.read("SessionMemoryBytes", limits.sessionMemoryBytes, std::uint64_t{65536}, noLimit);
    reader.read("SessionObjects", limits.sessionObjects, std::size_t{1}, wire::maxSessionObjects);
    reader.read("SessionVariables", limits.sessionVariables, std::size_t{1}, wire::maxVariables);
    reader.read("Sessions", limits.sessions, std::size_t{1}, std::size_t{1'000'000});
    reader.read("Connections", limits.connections, std::size_t{1}, std::size_t{100'000});
    reader.read("BodyBytesPerSecond", limits.bodyBytesPerSecond, std::uint64_t{0}, noLimit);
    reader.read("BodyRateSeconds", limits.bodyRateWindow);
    reader.read("HeaderSeconds", limits.headerTime);
    reader.read("SessionIdleSeconds", limits.sessionIdle);
    reader.read("FailedLogins", limits.failedLogins, 1, 1'000'000);
    reader.read("FailedLoginSeconds", limits.failedLoginWindow);
    reader.finish();
    return limits;
}

PortalSettings readPortal(const IniSection &section)
{
    PortalSettings portal;
    std::string papers;
    SectionReader reader(section);
    reader.read("Title", portal.title);
    reader.read("Papers", papers);
    reader.read("Copies", portal.copies, 1, 9999);
    reader.read("Colour", portal.colour);
    reader.read("Duplex", portal.duplex);
    reader.read("Staple", portal.staple);
    reader.finish();
    if (!papers.empty()) {
        portal.papers = nonEmptyParts(papers, ',');
    }
    return portal;
}

SingleSignOnSettings readSingleSignOn(const IniSection &section)
{
    SingleSignOnSettings settings;
    SectionReader reader(section);
    reader.read("Keytab", settings.keytab);
    reader.read("Realm", settings.realm);
    reader.finish();
    if (settings.keytab.empty() != settings.realm.empty()) {
        rejectSetting(section, settings.keytab.empty() ? "Keytab" : "Realm",
                      "single sign-on needs both settings");
    }
    if (!settings.keytab.empty() && settings.keytab[0] != '/') {
        rejectSetting(section, "Keytab", "an absolute path is wanted, not '" + settings.keytab + "'");
    }
    if (settings.isOn() && !canNegotiate()) {
        rejectSetting(section, "Realm", "this server was built without GSSAPI");
    }
    return settings;
}

ApplicationSettings readApplication(const IniSection &section)
{
    ApplicationSettings application;
    SectionReader reader(section);
    reader.read("User", application.user);
    reader.read("Password", application.password);
    reader.read("Login", application.loginWanted);
    reader.finish();
    return application;
}

void readServices(const IniSection &section, DirectorySettings &directory)
{
    SectionReader reader(section);
    reader.read("Directory", directory.directories);
    reader.read("Topic", directory.topics);
    reader.finish();
    for (const std::string &topic : directory.topics) {
        if (topic.find('=') == std::string::npos) {
            rejectSetting(section, "Topic", "a topic is written name=address, not '" + topic + "'");
        }
    }
}

ContainerSettings readContainer(const IniSection &section)
{
    ContainerSettings container;
    std::string modes;
    std::vector<std::string> services;
    SectionReader reader(section);
    reader.read("PrintingModes", modes);
    reader.read("TunnelMode", container.tunnelMode);
    reader.read("TunnelService", services);
    reader.read("TunnelServiceName", container.tunnelServiceName);
    reader.read("TunnelServiceProfile", container.tunnelServiceProfile);
    reader.finish();
    container.printingModes = nonEmptyParts(modes, ',');
    for (const std::string &service : services) {
        container.tunnelServices.push_back(splitAt(service, ';'));
        if (container.tunnelServices.back().size() != 3) {
            rejectSetting(section, "TunnelService", "a service is written name;label;profile");
        }
    }
    return container;
}

bool takePrefix(std::string_view &name, std::string_view prefix)
{
    if (!name.starts_with(prefix)) {
        return false;
    }
    name.remove_prefix(prefix.size());
    return true;
}

void readSection(const IniSection &section, ServerConfiguration &configuration)
{
    std::string_view name = section.name;
    if (name == "Server") {
        configuration.listen = readListen(section);
    } else if (name == "Limits") {
        configuration.limits = readLimits(section);
    } else if (name == "Portal") {
        configuration.portal = readPortal(section);
    } else if (name == "SingleSignOn") {
        configuration.singleSignOn = readSingleSignOn(section);
    } else if (name == "Documents") {
        SectionReader reader(section);
        reader.read("KeepDays", configuration.keepDocumentDays, 1, 3650);
        reader.finish();
    } else if (takePrefix(name, "Application ")) {
        configuration.applications[std::string(name)] = readApplication(section);
    } else if (takePrefix(name, "Directory ")) {
        readServices(section, configuration.directories[std::string(name)]);
    } else if (takePrefix(name, "Parameters ")) {
        configuration.directories[std::string(name)].parameters = section.entries;
    } else if (takePrefix(name, "Profile ")) {
        configuration.containers[std::string(name)] = readContainer(section);
    } else {
        throw ConfigurationError("there is no section [" + section.name + "]");
    }
}

void replaceAll(std::string &text, std::string_view from, std::string_view to)
{
    for (auto at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
}

} // namespace

ServerConfiguration ServerConfiguration::parse(std::string_view text)
{
    ServerConfiguration configuration;
    for (const IniSection &section : parseIni(text)) {
        readSection(section, configuration);
    }
    ListenSettings &listen = configuration.listen;
    if (listen.publicName.empty()) {
        listen.publicName = isAnyAddress(listen.address) ? hostName() : listen.address;
    }
    return configuration;
}

std::string withOwnAddresses(std::string_view value, const OwnAddresses &own)
{
    std::string text(value);
    replaceAll(text, "{address}", own.address);
    replaceAll(text, "{port}", std::to_string(own.port));
    replaceAll(text, "{portal}", own.portalUrl);
    return text;
}

} // namespace appserver
