// SPDX-License-Identifier: MIT
#pragma once

#include "appserver/secrets.h"

#include <chrono>
#include <map>
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
    using Clock = std::chrono::steady_clock;

    struct Entry
    {
        PortalVisitor visitor;
        Clock::time_point lastUse;
    };

    void makeRoom(std::size_t maxVisitors);

    std::mutex m_mutex;
    std::map<LookupKey, Entry> m_visitors;
};

} // namespace appserver
