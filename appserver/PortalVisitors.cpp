// SPDX-License-Identifier: MIT
#include "appserver/PortalVisitors.h"

namespace appserver {

namespace {

constexpr std::size_t secretBytes = 32;

} // namespace

PortalVisitor PortalVisitors::enter(const std::string &name, std::size_t maxVisitors)
{
    PortalVisitor visitor{randomHex(secretBytes), randomHex(secretBytes), name};
    const std::scoped_lock lock(m_mutex);
    m_visitors.add(lookupKey(visitor.cookie), visitor, maxVisitors);
    return visitor;
}

std::optional<PortalVisitor> PortalVisitors::find(std::string_view cookie, std::chrono::seconds maxIdle)
{
    const std::scoped_lock lock(m_mutex);
    const auto anybody = [](const PortalVisitor &) { return true; };
    const PortalVisitor *visitor = m_visitors.use(lookupKey(cookie), maxIdle, anybody);
    return visitor != nullptr ? std::optional(*visitor) : std::nullopt;
}

void PortalVisitors::leave(std::string_view cookie)
{
    const std::scoped_lock lock(m_mutex);
    m_visitors.remove(lookupKey(cookie));
}

void PortalVisitors::removeIdle(std::chrono::seconds maxIdle)
{
    const std::scoped_lock lock(m_mutex);
    m_visitors.removeIdle(maxIdle);
}

} // namespace appserver
