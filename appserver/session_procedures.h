// SPDX-License-Identifier: MIT
#pragma once

#include "appserver/session_commands.h"

namespace appserver {

/// GetData, ProcessFile and Nothing. The objects that they make stand in the session and in the outcome.
/// Throws CommandFailure.
[[nodiscard]] CommandOutcome callProcedure(AppServices &services, ServerSession &session,
                                           const wire::Command &command);

/// An open or close procedure: by name, without arguments. An empty name is none.
void callSessionProcedure(AppServices &services, ServerSession &session, const std::string &name);

} // namespace appserver
