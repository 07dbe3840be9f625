// SPDX-License-Identifier: MIT
#include "backend/display.h"

namespace backend {

bool displayOpens()
{
    // launchd starts the agent in Aqua sessions alone.
    return true;
}

} // namespace backend
