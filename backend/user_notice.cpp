// SPDX-License-Identifier: MIT
#include "backend/user_notice.h"

#include "backend/program_run.h"

#include <iostream>

namespace backend {

std::string notificationBody(const std::string &text)
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

void tellUser(const std::string &text)
{
    std::cerr << "varek-agent: " << text << std::endl;
#ifdef __APPLE__
    (void)runProgram({"osascript", "-e", "on run argv", "-e",
                      "display notification (item 1 of argv) with title \"Varek Print\"", "-e", "end run",
                      text});
#else
    (void)runProgram({"notify-send", "--app-name=Varek Print", "--icon=varek-print", "--", "Varek Print",
                      notificationBody(text)});
#endif
}

} // namespace backend
