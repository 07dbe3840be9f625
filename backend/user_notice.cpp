// SPDX-License-Identifier: MIT
#include "backend/user_notice.h"

#include "backend/notification_command.h"
#include "backend/program_run.h"

#include <iostream>

namespace backend {

void tellUser(const std::string &text)
{
    std::cerr << "varek-agent: " << text << std::endl;
    (void)runProgram(notificationCommand(text));
}

} // namespace backend
