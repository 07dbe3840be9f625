// SPDX-License-Identifier: MIT
#pragma once

#include "backend/agent_arguments.h"
#include "backend/claimed_job.h"

#include <functional>

namespace backend {

struct AgentSurroundings
{
    std::function<bool()> displayOpens;
    TellUser tellUser;
};

/// Starts the program for each waiting job of this user, one after the other, oldest first. Without watch it
/// ends when nothing waits any more, with it only by SIGTERM or SIGINT, and never in the middle of a job.
/// Returns the exit status: 1 when jobs wait that cannot be started, since no display opens or the program is
/// not there.
[[nodiscard]] int runAgent(const AgentOptions &options, const AgentSurroundings &surroundings);

} // namespace backend
