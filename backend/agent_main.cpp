// SPDX-License-Identifier: MIT
#include "backend/agent_run.h"
#include "backend/cancel_signal.h"
#include "backend/display.h"
#include "backend/spool_names.h"
#include "backend/user_notice.h"

#include <sys/stat.h>

#include <iostream>
#include <string>
#include <vector>

#ifdef __APPLE__
constexpr char sendProgram[] = "/Library/Printers/Varek/Varek Print.app/Contents/MacOS/vrp";
#else
constexpr char sendProgram[] = "/usr/lib/varek/bin/vrp";
#endif

int main(int argc, char **argv)
{
    ::umask(077);
    backend::AgentOptions options{.spoolRoot = backend::spoolRoot, .program = sendProgram};
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    if (!backend::parseAgentArguments(arguments, options)) {
        std::cerr << "usage: varek-agent --once | --watch [--spool DIR] [--program FILE] [--display-wait "
                     "SECONDS]\n";
        return 2;
    }
    backend::catchSignals();
    return backend::runAgent(options, {.displayOpens = backend::displayOpens, .tellUser = backend::tellUser});
}
