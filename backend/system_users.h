// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

namespace backend {

/// Root, the accounts of services, "nobody" and the number that stands for no user.
constexpr bool isSystemUser(uid_t uid)
{
    if (uid == static_cast<uid_t>(-1)) {
        return true;
    }
#ifdef __APPLE__
    return uid < 501 || uid == static_cast<uid_t>(-2);
#else
    // From 61184 on stand systemd's dynamic users, then "nobody" and the 16-bit number for no user.
    return uid < 1000 || (uid >= 61184 && uid <= 65535);
#endif
}

} // namespace backend
