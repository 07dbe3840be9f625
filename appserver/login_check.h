// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace appserver {

class AppServices;

enum class LoginResult
{
    good,
    unknownUser,
    wrongPassword,
    tooMany ///< failed logins: this one was not looked at
};

/// Checks a password that came from an address, and counts failures. Slow on purpose.
[[nodiscard]] LoginResult checkLogin(AppServices &services, const std::string &name,
                                     const std::string &password, const std::string &remoteAddress);

} // namespace appserver
