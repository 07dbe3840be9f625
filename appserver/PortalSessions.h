// SPDX-License-Identifier: MIT
#pragma once

#include "appserver/IdleEntries.h"
#include "appserver/secrets.h"

#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace appserver {

class ServerSession;

/// One page of one person: what the one-time address was exchanged for.
struct PortalPage
{
    std::string id;        ///< stands in the page's path; no secret
    std::string cookie;    ///< proves that the browser is the one that opened the address
    std::string formToken; ///< proves that a form comes from our page
    std::string owner;
    std::string documentId;                 ///< empty: no document
    std::shared_ptr<ServerSession> session; ///< kept alive by using the page; may be null
};

/// The open portal pages. Safe on several threads.
class PortalSessions
{
public:
    /// Checks session identifier and control digest and opens a page. Works once for a session; no value
    /// otherwise. Takes the same time whatever is wrong.
    [[nodiscard]] std::optional<PortalPage> open(const std::shared_ptr<ServerSession> &session,
                                                 std::string_view digest, std::size_t maxPages);
    /// A page for a document that its owner, who is logged in, asked for.
    [[nodiscard]] PortalPage openFor(const std::string &owner, const std::string &documentId,
                                     std::size_t maxPages);
    /// No value unless the cookie is that of the page.
    [[nodiscard]] std::optional<PortalPage> find(std::string_view pageId, std::string_view cookie,
                                                 std::chrono::seconds maxIdle);
    void removeIdle(std::chrono::seconds maxIdle);

private:
    PortalPage keep(PortalPage page, std::size_t maxPages);

    std::mutex m_mutex;
    IdleEntries<std::string, PortalPage> m_pages;
};

} // namespace appserver
