// SPDX-License-Identifier: MIT
#pragma once

#include "appserver/secrets.h"

#include <chrono>
#include <cstddef>
#include <map>
#include <mutex>
#include <string>
#include <string_view>

namespace appserver {

/// Passwords that were right lately, so that the sessions of one print do not hash the same one again and
/// again. Kept are digests with a key that only this process has, over user, stored hash and password: a
/// digest is of no use as soon as the stored hash is another one. Safe on several threads.
class KnownPasswords
{
public:
    using Clock = std::chrono::steady_clock;

    /// From the moment at which the password was hashed: then it is hashed once more.
    static constexpr std::chrono::minutes lifetime{15};
    static constexpr std::size_t maxUsers = 1000;

    [[nodiscard]] bool knows(const std::string &user, std::string_view storedHash, std::string_view password,
                             Clock::time_point now = Clock::now()) const;
    /// One password a user. When the table is full the oldest makes room.
    void remember(const std::string &user, std::string_view storedHash, std::string_view password,
                  Clock::time_point now = Clock::now());

private:
    struct Entry
    {
        LookupKey digest{};
        Clock::time_point since;
    };

    void makeRoom();

    mutable std::mutex m_mutex;
    std::map<std::string, Entry> m_entries; ///< by user
};

} // namespace appserver
