// SPDX-License-Identifier: MIT
#include "appserver/LoginThrottle.h"

#include <algorithm>

namespace appserver {

namespace {

/// Neither names that strangers invent nor their addresses fill the memory. Who has more addresses than are
/// counted guesses no faster: the others already allow more guesses than passwords can be hashed in a window.
constexpr std::size_t maxCountsWithNames = 50'000;
constexpr std::size_t maxCounts = 2 * maxCountsWithNames;
constexpr int addressFactor = 10;

/// Stands for all users of an address; no user has an empty name.
const std::string everybody;

} // namespace

bool LoginThrottle::refuses(const std::string &user, const std::string &address, Rule rule,
                            Clock::time_point now)
{
    const std::scoped_lock lock(m_mutex);
    return reached({address, user}, rule.failures, rule, now) ||
           reached({address, everybody}, rule.failures * addressFactor, rule, now);
}

void LoginThrottle::failed(const std::string &user, const std::string &address, Rule rule,
                           Clock::time_point now)
{
    const std::scoped_lock lock(m_mutex);
    if (m_counts.size() >= maxCountsWithNames) {
        forgetOld(rule, now);
    }
    count({address, user}, rule, now, maxCountsWithNames);
    count({address, everybody}, rule, now, maxCounts);
}

void LoginThrottle::succeeded(const std::string &user, const std::string &address)
{
    const std::scoped_lock lock(m_mutex);
    m_counts.erase({address, user});
}

void LoginThrottle::forgetOld(Rule rule, Clock::time_point now)
{
    if (now < m_nextOld) {
        return;
    }
    m_nextOld = now + rule.window;
    std::erase_if(m_counts, [&](const auto &entry) {
        const Clock::time_point end = entry.second.since + rule.window;
        if (now < end) {
            m_nextOld = std::min(m_nextOld, end);
        }
        return now >= end;
    });
}

void LoginThrottle::count(const Key &key, Rule rule, Clock::time_point now, std::size_t capacity)
{
    if (m_counts.size() >= capacity && m_counts.count(key) == 0) {
        return;
    }
    Count &entry = m_counts[key];
    if (entry.failures == 0 || now - entry.since >= rule.window) {
        entry = {0, now};
    }
    ++entry.failures;
}

bool LoginThrottle::reached(const Key &key, int limit, Rule rule, Clock::time_point now) const
{
    const auto found = m_counts.find(key);
    return found != m_counts.end() && now - found->second.since < rule.window &&
           found->second.failures >= limit;
}

} // namespace appserver
