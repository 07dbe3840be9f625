// SPDX-License-Identifier: MIT
#pragma once

#include "wire/objects.h"

#include <optional>
#include <string_view>

namespace appserver {

class ServerConfiguration;

/// An object of a profile container: PRINTING_MODES, TUNNEL_MODE, TUNNEL_SERVICES, TUNNEL_SERVICE_NAME,
/// TUNNEL_SERVICE_PROFILE. No value for another name. Throws CommandFailure for an unknown container.
[[nodiscard]] std::optional<wire::Value> profileObject(const ServerConfiguration &configuration,
                                                       std::string_view container, std::string_view name);

} // namespace appserver
