// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

namespace appserver {

/// The name of this machine; "localhost" where it has none.
[[nodiscard]] std::string hostName();

/// True for the addresses that stand for every network: no client can reach a server under them.
[[nodiscard]] bool isAnyAddress(std::string_view address);

} // namespace appserver
