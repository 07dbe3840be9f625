// SPDX-License-Identifier: MIT
#include "vrp/server/library_call.h"

#include "vrp/platform/text.h"

#include <vrc.h>

#include <cstring>

LibraryAnswer callLibrary(void *request, const std::string &command, int capacity, int *extra)
{
    if (capacity <= 0) {
        return {VrCommand(request, command.c_str(), nullptr, 0, extra), {}};
    }
    const auto bytes = static_cast<std::size_t>(capacity);
    std::string answer(bytes, '\0');
    const int status = VrCommand(request, command.c_str(), answer.data(), capacity, extra);
    answer.resize(strnlen(answer.data(), bytes - 1));
    return {status, UTF8tow(answer)};
}
