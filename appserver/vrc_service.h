// SPDX-License-Identifier: MIT
#pragma once

#include "appserver/HttpSite.h"

namespace appserver {

class AppServices;

/// POST /vrc: batches of frames. GET /vrc: is anybody there.
void addVrcService(HttpSite &site, AppServices &services);

/// True for the path of the service.
[[nodiscard]] bool isVrcPath(std::string_view path);

} // namespace appserver
