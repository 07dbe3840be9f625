// SPDX-License-Identifier: MIT
#include "backend/recipient.h"

#include "backend/cups_job.h"
#include "backend/system_users.h"
#include "backend/value_cleaning.h"

#include <algorithm>

namespace backend {
namespace {

bool fits(const std::string &pattern, const std::string &value)
{
    return pattern == "*" || pattern == value;
}

bool fitsHost(const std::string &pattern, const std::string &host)
{
    return fits(pattern, host) || (isThisComputer(pattern) && isThisComputer(host));
}

Recipient refuse(const std::string &reason)
{
    return {Recipient::Outcome::refused, {}, reason};
}

Recipient ordinaryUser(const std::string &name, const std::string &refusalStart, const FindAccount &find)
{
    const AccountLookup lookup = find(name);
    if (lookup.outcome == AccountLookup::Outcome::unavailable) {
        return {Recipient::Outcome::unavailable, {}, "The user directory does not answer"};
    }
    if (lookup.outcome == AccountLookup::Outcome::absent) {
        return refuse(refusalStart + "there is no user '" + cleanValue(name) + "' on this computer");
    }
    if (isSystemUser(lookup.account.uid)) {
        return refuse(refusalStart + "'" + cleanValue(name) + "' is a system user");
    }
    return {Recipient::Outcome::accepted, lookup.account, {}};
}

} // namespace

Recipient chooseRecipient(const std::string &user, const std::string &host,
                          const std::vector<MappingRule> &rules, const FindAccount &find)
{
    const auto rule = std::find_if(rules.begin(), rules.end(), [&](const MappingRule &candidate) {
        return fits(candidate.user, user) && fitsHost(candidate.host, host);
    });
    if (rule != rules.end()) {
        return ordinaryUser(rule->account, "Refused by the mapping: ", find);
    }
    if (!isThisComputer(host)) {
        return refuse("Refused: the job comes from another computer (" +
                      (host.empty() ? "unknown" : cleanValue(host)) + ")");
    }
    return ordinaryUser(user, "Refused: ", find);
}

} // namespace backend
