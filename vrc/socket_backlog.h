// SPDX-License-Identifier: MIT
#pragma once

#include <curl/curl.h>

#include <cstdint>

namespace vrc {

/// Bytes of a socket that the system has not got rid of yet: they shrink while a slow line drains. 0 where
/// that is not known.
[[nodiscard]] std::uint64_t unsentBytes(curl_socket_t socket);

} // namespace vrc
