// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>

namespace backend {

/// A user of this computer.
struct Account
{
    std::string name;
    uid_t uid = 0;
    gid_t gid = 0;
};

/// The answer of the system's user directory, which may be a server that does not answer just now.
struct AccountLookup
{
    enum class Outcome
    {
        found,
        absent,
        unavailable
    };

    Outcome outcome = Outcome::absent;
    Account account;
};

using FindAccount = std::function<AccountLookup(const std::string &name)>;

/// Looks a user name up with getpwnam_r.
[[nodiscard]] AccountLookup findSystemAccount(const std::string &name);

/// Becomes the account for good: user, group, no further groups. Does nothing when the process is the
/// account's already. Throws BackendFailure.
void takeIdentity(const Account &account);

} // namespace backend
