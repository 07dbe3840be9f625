// SPDX-License-Identifier: MIT
#pragma once

#include "tests/support/TemporaryFolder.h"

#include <string>
#include <sys/types.h>

/// A squid of its own on a free port of the loopback interface; with a user, it wants basic authentication.
class SquidProxy
{
public:
    SquidProxy() : SquidProxy({}, {}) {}

    SquidProxy(const std::string &user, const std::string &password);
    ~SquidProxy();
    SquidProxy(const SquidProxy &) = delete;
    SquidProxy &operator=(const SquidProxy &) = delete;

    [[nodiscard]] int port() const { return m_port; }

private:
    void writeConfiguration(const std::string &user, const std::string &password) const;
    void start();

    TemporaryFolder m_folder; ///< squid takes no blanks in a path
    int m_port;
    pid_t m_pid = -1;
};
