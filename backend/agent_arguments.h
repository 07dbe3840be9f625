// SPDX-License-Identifier: MIT
#pragma once

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

} // namespace backend
