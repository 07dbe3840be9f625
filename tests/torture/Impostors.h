// SPDX-License-Identifier: MIT
#pragma once

#include "tests/support/TemporaryFolder.h"
#include "tests/support/TlsTerminator.h"

#include <string>
#include <vector>

/// A server that must not be trusted.
struct Impostor
{
    std::string name;
    TlsTerminator::Identity identity;
    std::string error; ///< with which a client refuses it: SERVICE/CLASS/CODE
};

/// Certificates of an authority, and of servers at 127.0.0.1; made with the openssl program, deleted with
/// this.
class Impostors
{
public:
    Impostors();

    /// PEM: makes the good server trusted, and no other one.
    [[nodiscard]] std::string root() const { return certificate("root"); }

    [[nodiscard]] TlsTerminator::Identity good() const { return identity("good", "middle"); }

    [[nodiscard]] std::vector<Impostor> all() const;

private:
    struct Wish;

    void make(const Wish &wish) const;
    [[nodiscard]] std::string certificate(const std::string &name) const;
    [[nodiscard]] TlsTerminator::Identity identity(const std::string &name, const std::string &above = {},
                                                   int highestVersion = TLS1_3_VERSION) const;

    TemporaryFolder m_folder;
};
