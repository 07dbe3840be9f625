// SPDX-License-Identifier: MIT
#include "appserver/PortalVisitors.h"

#include <algorithm>

namespace appserver {

namespace {

constexpr std::size_t secretBytes = 32;

} // namespace

PortalVisitor PortalVisitors::enter(const std::string &name, std::size_t maxVisitors)
{
    PortalVisitor visitor{randomHex(secretBytes), randomHex(secretBytes), name};
    const std::scoped_lock lock(m_mutex);
    makeRoom(maxVisitors);
    m_visitors.insert_or_assign(lookupKey(visitor.cookie), Entry{visitor, Clock::now()});
    return visitor;
}

std::optional<PortalVisitor> PortalVisitors::find(std::string_view cookie, std::chrono::seconds maxIdle)
{
    const std::scoped_lock lock(m_mutex);
    const auto found = m_visitors.find(lookupKey(cookie));
    if (found == m_visitors.end()) {
        return std::nullopt;
    }
    Entry &entry = found->second;
    if (Clock::now() - entry.lastUse >= maxIdle) {
        m_visitors.erase(found);
        return std::nullopt;
    }
    entry.lastUse = Clock::now();
    return entry.visitor;
}

void PortalVisitors::leave(std::string_view cookie)
{
    const std::scoped_lock lock(m_mutex);
    m_visitors.erase(lookupKey(cookie));
}

void PortalVisitors::removeIdle(std::chrono::seconds maxIdle)
{
    const auto now = Clock::now();
    const std::scoped_lock lock(m_mutex);
    std::erase_if(m_visitors, [&](const auto &entry) { return now - entry.second.lastUse >= maxIdle; });
}

void PortalVisitors::makeRoom(std::size_t maxVisitors)
{
    if (m_visitors.size() < maxVisitors) {
        return;
    }
    m_visitors.erase(
        std::ranges::min_element(m_visitors, {}, [](const auto &entry) { return entry.second.lastUse; }));
}

} // namespace appserver
