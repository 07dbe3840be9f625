// SPDX-License-Identifier: MIT
#pragma once

#include "vrp/platform/default_ports.h"

#include <string>

/// Where a server directory is found.
struct DirectoryAddress
{
    std::wstring server;
    int port = defaultServerPort;
    std::wstring application;
    std::wstring directory;

    [[nodiscard]] bool isComplete() const
    {
        return !server.empty() && !application.empty() && !directory.empty();
    }
};

/// Takes from an entry of the form server[:port];application[:directory] what it has. What it lacks keeps the
/// value of the entry before it, the port included: the port is not reset between entries, on purpose.
void takeDirectoryEntry(const std::wstring &entry, DirectoryAddress &address);
