// SPDX-License-Identifier: MIT
#include "appserver/profile_objects.h"

#include "appserver/CommandFailure.h"
#include "appserver/ServerConfiguration.h"

namespace appserver {

namespace {

constexpr std::uint32_t serviceColumns = 3;

wire::Table serviceTable(const ContainerSettings &settings)
{
    wire::Table table;
    table.columns = serviceColumns;
    for (const auto &row : settings.tunnelServices) {
        table.cells.insert(table.cells.end(), row.begin(), row.end());
    }
    return table;
}

} // namespace

std::optional<wire::Value> profileObject(const ServerConfiguration &configuration, std::string_view container,
                                         std::string_view name)
{
    const auto found = configuration.containers.find(container);
    if (found == configuration.containers.end()) {
        throw CommandFailure(wire::errors::unknownContainer,
                             "there is no container '" + std::string(container.substr(0, 128)) + "'");
    }
    const ContainerSettings &settings = found->second;
    if (name == "PRINTING_MODES") {
        return wire::Value(settings.printingModes);
    }
    if (name == "TUNNEL_MODE") {
        return wire::Value(settings.tunnelMode);
    }
    if (name == "TUNNEL_SERVICES") {
        return wire::Value(serviceTable(settings));
    }
    if (name == "TUNNEL_SERVICE_NAME") {
        return wire::Value(settings.tunnelServiceName);
    }
    if (name == "TUNNEL_SERVICE_PROFILE") {
        return wire::Value(settings.tunnelServiceProfile);
    }
    return std::nullopt;
}

} // namespace appserver
