// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace vrc {

/// Whom a server's certificate has to come from.
struct TrustStore
{
    std::string folder;       ///< the system's authorities by the hash of their names; empty: there is none
    std::string certificates; ///< in PEM, besides the folder; empty: none
};

/// Where the system keeps its authorities; empty: nowhere.
struct SystemAuthorities
{
    std::string folder; ///< in which they may stand by the hash of their names
    std::string bundle; ///< a file with all of them
};

/// The system's authorities, and those of the file `ownPath`, where there is such a file. From a folder by
/// hashes only the authorities that a server names are ever read; the bundle is read where there is no such
/// folder. With both fields empty the transport's own default holds. Throws Failure (LOCAL/REQUEST/120) for a
/// file of our own that cannot be read: an installation that names its authority is never trusted less
/// strictly.
[[nodiscard]] TrustStore trustStore(const SystemAuthorities &system, const std::string &ownPath);

/// That of this process, with vrc-ca.pem beside this library.
[[nodiscard]] TrustStore installedTrust();

} // namespace vrc
