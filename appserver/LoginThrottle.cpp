// SPDX-License-Identifier: MIT
#include "appserver/LoginThrottle.h"

namespace appserver {

namespace {

/// Names that strangers invent must not fill the memory.
constexpr std::size_t maxCounts = 50'000;
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
    if (m_counts.size() >= maxCounts) {
        forgetOld(rule, now);
    }
    if (m_counts.size() < maxCounts) {
        count({address, user}, rule, now);
    }
    count({address, everybody}, rule, now);
}

void LoginThrottle::succeeded(const std::string &user, const std::string &address)
{
    const std::scoped_lock lock(m_mutex);
    m_counts.erase({address, user});
}

void LoginThrottle::forgetOld(Rule rule, Clock::time_point now)
{
    std::erase_if(m_counts, [&](const auto &entry) { return now - entry.second.since >= rule.window; });
}

void LoginThrottle::count(const Key &key, Rule rule, Clock::time_point now)
{
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
