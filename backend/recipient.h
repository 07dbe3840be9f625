// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace backend {

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

/// One line of the administrator's configuration: jobs of this user from this host go to that account.
struct MappingRule
{
    std::string user; ///< "*" for any
    std::string host; ///< "*" for any, "localhost" for this computer
    std::string account;
};

/// Reads lines of the form "map USER@HOST ACCOUNT"; empty lines and lines that begin with "#" are skipped. A
/// line that cannot be understood is put into problems, as "line N: ..." texts, and has no effect.
[[nodiscard]] std::vector<MappingRule> parseMapping(std::string_view text,
                                                    std::vector<std::string> &problems);

/// Whose spool a job goes to, or why to nobody's.
struct Recipient
{
    enum class Outcome
    {
        accepted,
        refused,
        unavailable
    };

    Outcome outcome = Outcome::refused;
    Account account;
    std::string reason; ///< one clean line for the queue window when not accepted
};

/// The first rule that fits decides; without one the job must come from this computer and its user must be an
/// ordinary user of it. A rule cannot make root or a system user the recipient either.
[[nodiscard]] Recipient chooseRecipient(const std::string &user, const std::string &host,
                                        const std::vector<MappingRule> &rules, const FindAccount &find);

} // namespace backend
