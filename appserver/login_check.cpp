// SPDX-License-Identifier: MIT
#include "appserver/login_check.h"

#include "appserver/AppServices.h"

namespace appserver {

LoginResult checkLogin(AppServices &services, const std::string &name, const std::string &password,
                       const std::string &remoteAddress)
{
    const auto configuration = services.configuration();
    const LoginThrottle::Rule rule{configuration->limits.failedLogins,
                                   configuration->limits.failedLoginWindow};
    if (services.throttle.refuses(name, remoteAddress, rule)) {
        return LoginResult::tooMany;
    }
    const UserStore::Check check = services.users.check(name, password);
    if (check == UserStore::Check::good) {
        services.throttle.succeeded(name, remoteAddress);
        return LoginResult::good;
    }
    services.throttle.failed(name, remoteAddress, rule);
    return check == UserStore::Check::unknownUser ? LoginResult::unknownUser : LoginResult::wrongPassword;
}

} // namespace appserver
