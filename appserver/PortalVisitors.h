// SPDX-License-Identifier: MIT
#pragma once

#include "appserver/IdleEntries.h"
#include "appserver/secrets.h"

#include <chrono>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace appserver {

/// A person who logged in to the portal itself, to see the documents that wait.
struct PortalVisitor
{
    std::string cookie;
    std::string formToken; ///< proves that a form comes from our page
    std::string name;
};

/// The people who are logged in to the portal. Safe on several threads.
class PortalVisitors
{
public:
    /// Who was here longest ago makes room when there are too many.
    PortalVisitor enter(const std::string &name, std::size_t maxVisitors);
    /// No value for an unknown cookie, and for one that was not used for so long.
    [[nodiscard]] std::optional<PortalVisitor> find(std::string_view cookie, std::chrono::seconds maxIdle);
    void leave(std::string_view cookie);
    void removeIdle(std::chrono::seconds maxIdle);

private:
    std::mutex m_mutex;
    IdleEntries<LookupKey, PortalVisitor> m_visitors;
};

} // namespace appserver
