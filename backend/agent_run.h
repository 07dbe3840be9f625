// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <span>
#include <string>

namespace backend {

struct AgentOptions
{
    bool watch = false;
    std::string spoolRoot;
    std::string program;        ///< what sends a document, by its absolute path
    int displayWaitMs = 30'000; ///< how long a single pass waits for a display
};

/// Reads "--once" or "--watch", one of which is required, "--spool DIR", "--program FILE" and "--display-wait
/// SECONDS" over the defaults that the options hold. False when the arguments are of another form.
[[nodiscard]] bool parseAgentArguments(std::span<const std::string> arguments, AgentOptions &options);

struct AgentSurroundings
{
    std::function<bool()> displayOpens;
    std::function<void(const std::string &)> tellUser;
};

/// Starts the program for each waiting job of this user, one after the other, oldest first. Without watch it
/// ends when nothing waits any more, with it only by SIGTERM or SIGINT, and never in the middle of a job.
/// Returns the exit status: 1 when jobs wait that cannot be started, since no display opens or the program is
/// not there.
[[nodiscard]] int runAgent(const AgentOptions &options, const AgentSurroundings &surroundings);

} // namespace backend
