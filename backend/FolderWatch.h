// SPDX-License-Identifier: MIT
#pragma once

#include "backend/FileDescriptor.h"

#include <string>

namespace backend {

/// Notices changes of one folder's list of files, or of one file's time, from its construction on. A path
/// that cannot be watched makes every wait last its whole time.
class FolderWatch
{
public:
    explicit FolderWatch(const std::string &path);

    /// Waits for a change since the construction or the last call, a caught signal or the end of the time.
    void wait(int timeoutMs);

private:
    FileDescriptor m_queue;
    FileDescriptor m_target; ///< kqueue watches an open file
};

} // namespace backend
