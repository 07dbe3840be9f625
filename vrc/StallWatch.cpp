// SPDX-License-Identifier: MIT
#include "vrc/StallWatch.h"

#include <algorithm>

namespace vrc {

void StallWatch::start(Time now)
{
    m_lastBytes = 0;
    m_lastFrames = 0;
    resume(now);
}

void StallWatch::resume(Time now)
{
    m_lastMove = m_lastFrame = now;
}

bool StallWatch::isSilent(const Signs &signs, Patience patience, const Timeouts &limits, Time now)
{
    if (signs.movedBytes != m_lastBytes || !signs.isConnected) {
        m_lastBytes = signs.movedBytes;
        m_lastMove = now;
    }
    if (signs.frames != m_lastFrames || !signs.isBodyComplete) {
        m_lastFrames = signs.frames;
        m_lastFrame = now;
    }
    const auto longest = std::max(limits.answer, limits.stall);
    const auto stall = patience == Patience::procedure ? longest : limits.stall;
    return now - m_lastMove >= stall || now - m_lastFrame >= longest;
}

} // namespace vrc
