// SPDX-License-Identifier: MIT
#pragma once

#include <string>

struct LibraryAnswer
{
    int status; ///< 1 for success
    std::wstring text;
};

/// Lets the client library carry out one command. `capacity` is the limit of the answer in bytes, its
/// terminator included; with 0 there is none. The text is what the library left there, also after a failure.
[[nodiscard]] LibraryAnswer callLibrary(void *request, const std::string &command, int capacity, int *extra);
