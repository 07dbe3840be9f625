// SPDX-License-Identifier: MIT
#pragma once

#include "vrc/EasyHandle.h"
#include "vrc/connection_string.h"

#include <chrono>
#include <string>

namespace vrc {

/// Sets what holds for every exchange with a server: its address, whom its certificate has to come from, the
/// proxy. Throws Failure.
void setUpTransport(const EasyHandle &easy, const ConnectionSettings &settings);

void setConnectTimeout(const EasyHandle &easy, std::chrono::seconds timeout);

/// True when credentials have to be agreed on before a body is sent: those of single sign-on, and those of a
/// proxy that sees the request itself.
[[nodiscard]] bool needsSettling(const ConnectionSettings &settings);

/// Where frames are sent to.
[[nodiscard]] std::string serverAddress(const ConnectionSettings &settings);

} // namespace vrc
