// SPDX-License-Identifier: MIT
#include "backend/recipient.h"

#include "backend/cups_job.h"
#include "backend/system_users.h"
#include "backend/value_cleaning.h"

#include <pwd.h>

#include <algorithm>
#include <cerrno>
#include <sstream>

namespace backend {
namespace {

constexpr std::size_t maxMappingBytes = 65536;

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

/// "USER@HOST": the host begins behind the last "@", since user names of a domain hold one.
bool splitPattern(const std::string &pattern, MappingRule &rule)
{
    const std::size_t at = pattern.rfind('@');
    if (at == std::string::npos || at == 0 || at + 1 == pattern.size()) {
        return false;
    }
    rule.user = pattern.substr(0, at);
    rule.host = pattern.substr(at + 1);
    return true;
}

bool parseRule(const std::string &line, MappingRule &rule)
{
    std::istringstream words(line);
    std::string keyword;
    std::string pattern;
    std::string rest;
    return words >> keyword >> pattern >> rule.account && !(words >> rest) && keyword == "map" &&
           splitPattern(pattern, rule);
}

} // namespace

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

std::vector<MappingRule> parseMapping(std::string_view text, std::vector<std::string> &problems)
{
    std::vector<MappingRule> rules;
    std::istringstream lines{std::string(text.substr(0, maxMappingBytes))};
    std::string line;
    for (int number = 1; std::getline(lines, line); ++number) {
        const std::size_t start = line.find_first_not_of(" \t\r");
        if (start == std::string::npos || line[start] == '#') {
            continue;
        }
        MappingRule rule;
        if (parseRule(line, rule)) {
            rules.push_back(rule);
        } else {
            problems.push_back("line " + std::to_string(number) +
                               " is not of the form 'map USER@HOST ACCOUNT'");
        }
    }
    return rules;
}

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
