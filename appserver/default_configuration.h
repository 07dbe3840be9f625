// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace appserver {

struct ListenSettings;

/// The commented configuration that a first start writes, with the addresses it was started with.
[[nodiscard]] std::string defaultConfiguration(const ListenSettings &listen);

} // namespace appserver
