// SPDX-License-Identifier: MIT
#pragma once

#include "backend/FileDescriptor.h"
#include "backend/account.h"

#include <string>

namespace backend {

/// Opens the spool folder of an account, creating it (0700, the account's) and the root folder (0711) when
/// they are missing. Everything is addressed from open folders, never by a path through a folder that a user
/// can change, and no link is followed. Throws BackendFailure: also for a folder of somebody else, or one
/// that others can enter.
[[nodiscard]] FileDescriptor openUserFolder(const std::string &root, const Account &account);

} // namespace backend
