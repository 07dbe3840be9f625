// SPDX-License-Identifier: MIT
#include "backend/notification_command.h"

namespace backend {
namespace {

/// A notification may hold markup: what the text has of it is escaped.
std::string escaped(const std::string &text)
{
    std::string body;
    for (const char c : text) {
        switch (c) {
        case '&':
            body += "&amp;";
            break;
        case '<':
            body += "&lt;";
            break;
        case '>':
            body += "&gt;";
            break;
        default:
            body += c;
        }
    }
    return body;
}

} // namespace

std::vector<std::string> notificationCommand(const std::string &text)
{
    return {"notify-send", "--app-name=Varek Print", "--icon=varek-print", "--", "Varek Print",
            escaped(text)};
}

} // namespace backend
