// SPDX-License-Identifier: MIT
#include "appserver/KnownPasswords.h"

#include <algorithm>

namespace appserver {

namespace {

/// No part holds a zero byte, so that no two triples read alike.
LookupKey digestOf(std::string_view user, std::string_view storedHash, std::string_view password)
{
    std::string text;
    text.reserve(user.size() + storedHash.size() + password.size() + 2);
    text.append(user).append(1, '\0').append(storedHash).append(1, '\0').append(password);
    const LookupKey digest = lookupKey(text);
    wipe(text);
    return digest;
}

} // namespace

bool KnownPasswords::knows(const std::string &user, std::string_view storedHash, std::string_view password,
                           Clock::time_point now) const
{
    const LookupKey digest = digestOf(user, storedHash, password);
    const std::scoped_lock lock(m_mutex);
    const auto found = m_entries.find(user);
    return found != m_entries.end() && now - found->second.since < lifetime &&
           equalKeys(found->second.digest, digest);
}

void KnownPasswords::remember(const std::string &user, std::string_view storedHash, std::string_view password,
                              Clock::time_point now)
{
    const LookupKey digest = digestOf(user, storedHash, password);
    const std::scoped_lock lock(m_mutex);
    if (!m_entries.contains(user) && m_entries.size() >= maxUsers) {
        makeRoom();
    }
    m_entries[user] = {digest, now};
}

void KnownPasswords::makeRoom()
{
    m_entries.erase(
        std::ranges::min_element(m_entries, {}, [](const auto &entry) { return entry.second.since; }));
}

} // namespace appserver
