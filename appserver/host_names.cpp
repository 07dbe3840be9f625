// SPDX-License-Identifier: MIT
#include "appserver/host_names.h"

#include <unistd.h>

#include <array>

namespace appserver {

std::string hostName()
{
    std::array<char, 256> name{};
    if (::gethostname(name.data(), name.size() - 1) != 0 || name[0] == '\0') {
        return "localhost";
    }
    return name.data();
}

bool isAnyAddress(std::string_view address)
{
    return address == "0.0.0.0" || address == "::";
}

} // namespace appserver
