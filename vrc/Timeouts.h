// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>

namespace vrc {

/// How long an established connection is waited for.
struct Timeouts
{
    std::chrono::milliseconds stall{30'000};   ///< without a byte in either direction
    std::chrono::milliseconds answer{600'000}; ///< for the answer of a procedure, or the rest of any answer
};

/// What is waited for, and with it how long.
enum class Patience
{
    stall,    ///< for the next byte
    procedure ///< for a server that may be busy with a procedure
};

/// The time-outs of this process. Tests shorten them with the environment variables VRC_STALL_TIMEOUT_MS and
/// VRC_ANSWER_TIMEOUT_MS; a longer time than the one above, and anything that is not a number, is ignored.
[[nodiscard]] Timeouts timeouts();

} // namespace vrc
