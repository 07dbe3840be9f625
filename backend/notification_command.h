// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace backend {

/// The program that shows a text to the user of this session as a desktop notification, and its arguments.
[[nodiscard]] std::vector<std::string> notificationCommand(const std::string &text);

} // namespace backend
