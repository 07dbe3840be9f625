// SPDX-License-Identifier: MIT
#include "appserver/PortalSessions.h"

#include "appserver/ServerSession.h"

namespace appserver {

namespace {

constexpr std::size_t pageIdBytes = 16;
constexpr std::size_t secretBytes = 32;
constexpr std::chrono::seconds sessionPatience{10};
constexpr std::size_t digestLength = 32;

std::string documentOf(const ServerSession &session)
{
    const ServerObject *object = session.objects.find("FILE_ID");
    const auto *value = object != nullptr ? std::get_if<wire::Value>(object) : nullptr;
    const auto *text = value != nullptr ? std::get_if<std::string>(value) : nullptr;
    return text != nullptr ? *text : std::string();
}

PortalPage newPage(const std::string &owner, const std::string &documentId,
                   const std::shared_ptr<ServerSession> &session)
{
    return {
        randomHex(pageIdBytes), randomHex(secretBytes), randomHex(secretBytes), owner, documentId, session};
}

} // namespace

std::optional<PortalPage> PortalSessions::open(const std::shared_ptr<ServerSession> &session,
                                               std::string_view digest, std::size_t maxPages)
{
    ServerSession::Use use;
    if (session) {
        use = ServerSession::wait(session, sessionPatience);
    }
    // Compared in any case, so that the time does not tell a known session from an unknown one.
    const bool hasPerson = use && use->person && !use->ended;
    const std::string expected = hasPerson ? use->person->digest : std::string(digestLength, '-');
    if (!equalSecrets(expected, digest) || !hasPerson || use->portalOpened) {
        return std::nullopt;
    }
    use->portalOpened = true;
    return keep(newPage(use->person->name, documentOf(*session), session), maxPages);
}

PortalPage PortalSessions::openFor(const std::string &owner, const std::string &documentId,
                                   std::size_t maxPages)
{
    return keep(newPage(owner, documentId, nullptr), maxPages);
}

std::optional<PortalPage> PortalSessions::find(std::string_view pageId, std::string_view cookie,
                                               std::chrono::seconds maxIdle)
{
    const std::scoped_lock lock(m_mutex);
    const auto isTheirs = [cookie](const PortalPage &page) { return equalSecrets(page.cookie, cookie); };
    const PortalPage *page = m_pages.use(pageId, maxIdle, isTheirs);
    if (page == nullptr) {
        return std::nullopt;
    }
    if (page->session) {
        page->session->touch();
    }
    return *page;
}

void PortalSessions::removeIdle(std::chrono::seconds maxIdle)
{
    const std::scoped_lock lock(m_mutex);
    m_pages.removeIdle(maxIdle);
}

PortalPage PortalSessions::keep(PortalPage page, std::size_t maxPages)
{
    const std::scoped_lock lock(m_mutex);
    m_pages.add(page.id, page, maxPages);
    return page;
}

} // namespace appserver
