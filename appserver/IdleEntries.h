// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <chrono>
#include <map>
#include <utility>

namespace appserver {

/// Entries by key that go when nobody has used them for a while, and when newer ones need their room. The
/// caller locks.
template <class Key, class Value>
class IdleEntries
{
public:
    /// The entry that was used longest ago makes room when there are `most` already.
    void add(const Key &key, Value value, std::size_t most)
    {
        if (m_entries.size() >= most && !m_entries.empty()) {
            m_entries.erase(std::ranges::min_element(m_entries, {},
                                                     [](const auto &entry) { return entry.second.lastUse; }));
        }
        m_entries.insert_or_assign(key, Entry{std::move(value), Clock::now()});
    }

    /// Null for an unknown key, for an entry that `accepts` refuses, and for one that was not used for so
    /// long. What is found has been used.
    template <class Wanted, class Accepts>
    [[nodiscard]] Value *use(const Wanted &key, std::chrono::seconds maxIdle, Accepts accepts)
    {
        const auto found = m_entries.find(key);
        if (found == m_entries.end() || !accepts(found->second.value)) {
            return nullptr;
        }
        const auto now = Clock::now();
        if (now - found->second.lastUse >= maxIdle) {
            m_entries.erase(found);
            return nullptr;
        }
        found->second.lastUse = now;
        return &found->second.value;
    }

    void remove(const Key &key) { m_entries.erase(key); }

    void removeIdle(std::chrono::seconds maxIdle)
    {
        const auto now = Clock::now();
        std::erase_if(m_entries, [&](const auto &entry) { return now - entry.second.lastUse >= maxIdle; });
    }

private:
    using Clock = std::chrono::steady_clock;

    struct Entry
    {
        Value value;
        Clock::time_point lastUse;
    };

    std::map<Key, Entry, std::less<>> m_entries;
};

} // namespace appserver
