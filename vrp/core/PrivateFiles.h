// SPDX-License-Identifier: MIT
#pragma once

#include <sys/stat.h>

/// While it lives, files and folders that this process creates are accessible to their owner alone.
class PrivateFiles
{
public:
    PrivateFiles() : m_previous(umask(S_IRWXG | S_IRWXO)) {}

    ~PrivateFiles() { umask(m_previous); }

    PrivateFiles(const PrivateFiles &) = delete;
    PrivateFiles &operator=(const PrivateFiles &) = delete;

private:
    mode_t m_previous;
};
