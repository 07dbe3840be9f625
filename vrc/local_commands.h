// SPDX-License-Identifier: MIT
#pragma once

#include "vrc/LocalObjects.h"
#include "wire/error_info.h"
#include "wire/fields.h"

#include <map>
#include <string>

namespace vrc {

/// What the LOCAL: commands of one request work on.
struct LocalState
{
    LocalObjects objects;
    std::map<std::string, std::string, std::less<>> variables;
    wire::ErrorInfo lastError; ///< of the last command that failed
    std::string sessionId;     ///< empty while no session is open
};

/// Carries out one LOCAL: command and gives its result. Never touches the network. Throws Failure.
[[nodiscard]] std::string runLocalCommand(LocalState &state, wire::Command command);

/// True for the command that asks about the last error; it must not change what it tells.
[[nodiscard]] bool isErrorQuery(const wire::Command &command);

} // namespace vrc
