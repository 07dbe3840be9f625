// SPDX-License-Identifier: MIT
#pragma once

#include "vrc/Timeouts.h"

#include <chrono>
#include <cstdint>

namespace vrc {

/// Tells a silent server from a slow one. Knows no clock: the time of every call is given, and must not go
/// backwards.
class StallWatch
{
public:
    using Time = std::chrono::steady_clock::time_point;

    /// What shows that an exchange goes on.
    struct Signs
    {
        bool isConnected = false;     ///< before that the transport library minds the time
        bool isBodyComplete = false;  ///< only then the server owes an answer
        std::uint64_t movedBytes = 0; ///< either way
        std::uint64_t frames = 0;     ///< complete ones of the answer
    };

    /// An exchange begins.
    void start(Time now);

    /// The exchange is waited for again, after the caller had something else to do.
    void resume(Time now);

    /// True when nothing has moved for as long as the patience lasts, or bytes without end bring no frame.
    [[nodiscard]] bool isSilent(const Signs &signs, Patience patience, const Timeouts &limits, Time now);

private:
    std::uint64_t m_lastBytes = 0;
    std::uint64_t m_lastFrames = 0;
    Time m_lastMove;
    Time m_lastFrame;
};

} // namespace vrc
