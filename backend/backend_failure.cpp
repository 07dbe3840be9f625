// SPDX-License-Identifier: MIT
#include "backend/backend_failure.h"

#include <cerrno>
#include <cstring>

namespace backend {

BackendFailure systemFailure(const std::string &action)
{
    return {ExitCode::hold, action + ": " + std::strerror(errno)};
}

} // namespace backend
