// SPDX-License-Identifier: MIT
#pragma once

/// Ports where nobody has said another one.
inline constexpr int defaultServerPort = 1082;
inline constexpr int defaultProxyPort = 8080;
