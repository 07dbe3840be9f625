// SPDX-License-Identifier: MIT
#pragma once

#include "tests/support/LoopbackDaemon.h"
#include "tests/support/TemporaryFolder.h"

#include <memory>
#include <string>

/// A squid of its own on a free port of the loopback interface, which lets everybody pass or asks everybody
/// for a user and a password. It is ready when it has been constructed; otherwise that throws.
class SquidProxy
{
public:
    enum class Authentication
    {
        none,
        basic,
        digest
    };

    SquidProxy() : SquidProxy(Authentication::none, {}, {}) {}

    SquidProxy(Authentication authentication, const std::string &user, const std::string &password);

    [[nodiscard]] int port() const { return m_port; }

private:
    std::string writeConfiguration(Authentication authentication, const std::string &user,
                                   const std::string &password) const;

    TemporaryFolder m_folder; ///< squid takes no blanks in a path
    int m_port = LoopbackDaemon::freePort();
    std::unique_ptr<LoopbackDaemon> m_squid;
};
