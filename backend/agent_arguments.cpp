// SPDX-License-Identifier: MIT
#include "backend/agent_arguments.h"

#include "backend/whole_number.h"

namespace backend {
namespace {

constexpr int longestWaitSeconds = 86400;

bool parseSeconds(const std::string &text, int &milliseconds)
{
    const auto seconds = wholeNumber<int>(text);
    if (!seconds || *seconds < 0 || *seconds > longestWaitSeconds) {
        return false;
    }
    milliseconds = *seconds * 1000;
    return true;
}

} // namespace

bool parseAgentArguments(std::span<const std::string> arguments, AgentOptions &options)
{
    bool hasMode = false;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string &option = arguments[i];
        if (option == "--once" || option == "--watch") {
            options.watch = option == "--watch";
            hasMode = true;
            continue;
        }
        if (++i == arguments.size()) {
            return false;
        }
        if (option == "--spool") {
            options.spoolRoot = arguments[i];
        } else if (option == "--program") {
            options.program = arguments[i];
        } else if (option != "--display-wait" || !parseSeconds(arguments[i], options.displayWaitMs)) {
            return false;
        }
    }
    return hasMode;
}

} // namespace backend
