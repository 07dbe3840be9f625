// SPDX-License-Identifier: MIT
#pragma once

#include <stdexcept>
#include <string>

namespace backend {

/// The answers to cupsd (backend(7)). 1 and 4 are never given: depending on the queue's policy they stop it
/// for everybody.
enum class ExitCode
{
    ok = 0,
    hold = 3,   ///< time, or somebody who reads the message, can mend it: the job is kept
    cancel = 5, ///< nothing can mend it
};

/// A job cannot be delivered. The text is one line for the queue window.
class BackendFailure : public std::runtime_error
{
public:
    BackendFailure(ExitCode code, const std::string &text) : std::runtime_error(text), m_code(code) {}

    [[nodiscard]] ExitCode code() const { return m_code; }

private:
    ExitCode m_code;
};

/// The failure of a system call, to be held: "action: error text of errno".
[[nodiscard]] BackendFailure systemFailure(const std::string &action);

} // namespace backend
