// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <mutex>
#include <string>
#include <utility>

namespace appserver {

/// Counts failed logins of a user from an address within a window of time. Guessing the passwords of many
/// users from one address is counted too, with ten times the limit. At most 100,000 counts are kept; what is
/// new beyond them is not counted until some are a window old.
class LoginThrottle
{
public:
    using Clock = std::chrono::steady_clock;

    struct Rule
    {
        int failures;
        std::chrono::seconds window;
    };

    [[nodiscard]] bool refuses(const std::string &user, const std::string &address, Rule rule,
                               Clock::time_point now = Clock::now());
    void failed(const std::string &user, const std::string &address, Rule rule,
                Clock::time_point now = Clock::now());
    void succeeded(const std::string &user, const std::string &address);

private:
    struct Count
    {
        int failures = 0;
        Clock::time_point since;
    };

    using Key = std::pair<std::string, std::string>;

    void forgetOld(Rule rule, Clock::time_point now);
    /// Counts a failure; a key that is new is left out once there are as many as the capacity.
    void count(const Key &key, Rule rule, Clock::time_point now, std::size_t capacity);
    [[nodiscard]] bool reached(const Key &key, int limit, Rule rule, Clock::time_point now) const;

    std::mutex m_mutex;
    std::map<Key, Count> m_counts;
    Clock::time_point m_nextOld; ///< before it no count becomes a window old: no need to look
};

} // namespace appserver
