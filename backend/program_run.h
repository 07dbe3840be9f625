// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace backend {

struct ProgramEnd
{
    enum class Kind
    {
        exited,
        signalled,
        notStarted
    };

    Kind kind = Kind::notStarted;
    int number = 0; ///< exit status, signal, or errno
};

/// Starts a program with exactly these arguments, no shell in between, and waits for its end. The first
/// argument is the program: a path, or a name that is looked for on PATH. It gets this process's environment,
/// /dev/null for standard input, default signal handling and no other open descriptor but standard output and
/// error. On Linux it is ended when this process ends before it.
[[nodiscard]] ProgramEnd runProgram(const std::vector<std::string> &arguments);

} // namespace backend
