// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace vrc {

/// The folder of the library or program that this function is linked into, as it was loaded, with a slash at
/// its end. Empty when that is not known: a name alone is then looked for where the system looks.
[[nodiscard]] std::string ownFolder();

} // namespace vrc
