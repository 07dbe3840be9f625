// SPDX-License-Identifier: MIT
#include "appserver/PortalSessions.h"

#include "appserver/ServerSession.h"

#include <algorithm>

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
    const auto found = m_pages.find(pageId);
    if (found == m_pages.end() || !equalSecrets(found->second.page.cookie, cookie)) {
        return std::nullopt;
    }
    Entry &entry = found->second;
    if (Clock::now() - entry.lastUse >= maxIdle) {
        m_pages.erase(found);
        return std::nullopt;
    }
    entry.lastUse = Clock::now();
    if (entry.page.session) {
        entry.page.session->touch();
    }
    return entry.page;
}

void PortalSessions::removeIdle(std::chrono::seconds maxIdle)
{
    const auto now = Clock::now();
    const std::scoped_lock lock(m_mutex);
    std::erase_if(m_pages, [&](const auto &entry) { return now - entry.second.lastUse >= maxIdle; });
}

PortalPage PortalSessions::keep(PortalPage page, std::size_t maxPages)
{
    const std::scoped_lock lock(m_mutex);
    makeRoom(maxPages);
    m_pages.insert_or_assign(page.id, Entry{page, Clock::now()});
    return page;
}

void PortalSessions::makeRoom(std::size_t maxPages)
{
    if (m_pages.size() < maxPages) {
        return;
    }
    const auto oldest =
        std::ranges::min_element(m_pages, {}, [](const auto &entry) { return entry.second.lastUse; });
    m_pages.erase(oldest);
}

} // namespace appserver
