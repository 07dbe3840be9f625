// SPDX-License-Identifier: MIT
#include "backend/notification_command.h"

namespace backend {

std::vector<std::string> notificationCommand(const std::string &text)
{
    return {"osascript",
            "-e",
            "on run argv",
            "-e",
            "display notification (item 1 of argv) with title \"Varek Print\"",
            "-e",
            "end run",
            text};
}

} // namespace backend
