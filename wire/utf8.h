// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

namespace wire {

/// True for well-formed UTF-8 (RFC 3629: no surrogates, no overlong forms, nothing above U+10FFFF) without a
/// zero byte.
[[nodiscard]] bool isText(std::string_view bytes);

} // namespace wire
