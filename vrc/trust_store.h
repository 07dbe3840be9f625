// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace vrc {

// The certificates of vrc-ca.pem beside this library together with the system's bundle, as one PEM text;
// empty where an installation ships no such file, and the system's store is used as it is. Throws Failure
// (LOCAL/REQUEST/120) for a file that cannot be read: an installation that names its authority is never
// trusted less strictly.
[[nodiscard]] std::string installedTrust();

} // namespace vrc
