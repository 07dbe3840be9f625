// SPDX-License-Identifier: MIT
#include "backend/account.h"

#include "backend/backend_failure.h"

#include <grp.h>
#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

namespace backend {

AccountLookup findSystemAccount(const std::string &name)
{
    passwd entry{};
    passwd *found = nullptr;
    std::vector<char> buffer(65536);
    const int error = getpwnam_r(name.c_str(), &entry, buffer.data(), buffer.size(), &found);
    if (found != nullptr) {
        return {AccountLookup::Outcome::found, {name, entry.pw_uid, entry.pw_gid}};
    }
    // Some directories report an unknown name as an error of one of these numbers (getpwnam(3)).
    const bool absent = error == 0 || error == ENOENT || error == ESRCH || error == EBADF || error == EPERM;
    return {absent ? AccountLookup::Outcome::absent : AccountLookup::Outcome::unavailable, {}};
}

void takeIdentity(const Account &account)
{
    if (::geteuid() != 0) {
        if (::geteuid() == account.uid) {
            return;
        }
        throw BackendFailure(ExitCode::hold,
                             "The backend does not run as root: its file must have mode 0700");
    }
    const gid_t group = account.gid;
    if (::setgroups(1, &group) != 0 || ::setgid(account.gid) != 0 || ::setuid(account.uid) != 0) {
        throw systemFailure("Cannot become '" + account.name + "'");
    }
    if (::setuid(0) == 0 || ::getuid() != account.uid || ::geteuid() != account.uid) {
        throw BackendFailure(ExitCode::hold, "Cannot give up the rights of root");
    }
}

} // namespace backend
