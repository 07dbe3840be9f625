// SPDX-License-Identifier: MIT
#include "appserver/SessionTable.h"

#include <vector>

namespace appserver {

namespace {

constexpr std::size_t identifierBytes = 32;
constexpr std::chrono::seconds openingMemory{60};

/// One text for all; the lengths keep different ones different.
LookupKey credentialsOf(const wire::HelloFrame &hello, const std::string &person)
{
    std::string text;
    for (const std::string *part : {&hello.application, &hello.user, &hello.password, &person}) {
        text += std::to_string(part->size()) + ':' + *part;
    }
    return lookupKey(text);
}

} // namespace

SessionTable::SessionTable(std::filesystem::path folder) : m_folder(std::move(folder))
{}

std::shared_ptr<ServerSession> SessionTable::open(const wire::HelloFrame &hello, std::size_t maxSessions,
                                                  const std::string &person, Clock::time_point now)
{
    const LookupKey credentials = credentialsOf(hello, person);
    const std::scoped_lock lock(m_mutex);
    forgetOldOpenings(now);
    if (auto repeated = openedBy(hello, credentials)) {
        return repeated;
    }
    if (!makeRoom(maxSessions)) {
        return nullptr;
    }
    // The folder's name is no secret, so it is not the identifier.
    auto session = std::make_shared<ServerSession>(randomHex(identifierBytes), hello.application,
                                                   m_folder / randomHex(8));
    m_sessions.emplace(lookupKey(session->id), session);
    m_openings.insert_or_assign(hello.nonce, Opening{credentials, session, now});
    return session;
}

std::shared_ptr<ServerSession> SessionTable::find(std::string_view id, std::chrono::seconds maxIdle)
{
    const LookupKey key = lookupKey(id);
    std::shared_ptr<ServerSession> expired; // released after the lock
    const std::scoped_lock lock(m_mutex);
    const auto found = m_sessions.find(key);
    if (found == m_sessions.end() || !equalSecrets(found->second->id, id)) {
        return nullptr;
    }
    if (found->second->idleTime() >= maxIdle) {
        expired = std::move(found->second);
        m_sessions.erase(found);
        return nullptr;
    }
    return found->second;
}

void SessionTable::remove(const std::string &id)
{
    std::shared_ptr<ServerSession> removed; // released after the lock
    const std::scoped_lock lock(m_mutex);
    const auto found = m_sessions.find(lookupKey(id));
    if (found != m_sessions.end()) {
        removed = std::move(found->second);
        m_sessions.erase(found);
    }
}

void SessionTable::removeIdle(std::chrono::seconds maxIdle)
{
    std::vector<std::shared_ptr<ServerSession>> removed; // released after the lock
    const std::scoped_lock lock(m_mutex);
    forgetOldOpenings(Clock::now());
    for (auto entry = m_sessions.begin(); entry != m_sessions.end();) {
        if (entry->second->idleTime() < maxIdle) {
            ++entry;
            continue;
        }
        removed.push_back(std::move(entry->second));
        entry = m_sessions.erase(entry);
    }
}

std::size_t SessionTable::count() const
{
    const std::scoped_lock lock(m_mutex);
    return m_sessions.size();
}

std::shared_ptr<ServerSession> SessionTable::openedBy(const wire::HelloFrame &hello,
                                                      const LookupKey &credentials)
{
    const auto found = m_openings.find(hello.nonce);
    if (found == m_openings.end() || found->second.credentials != credentials) {
        return nullptr;
    }
    return found->second.session.lock();
}

bool SessionTable::makeRoom(std::size_t maxSessions)
{
    if (m_sessions.size() < maxSessions) {
        return true;
    }
    auto victim = m_sessions.end();
    for (auto entry = m_sessions.begin(); entry != m_sessions.end(); ++entry) {
        const ServerSession &session = *entry->second;
        if (!session.hasPerson && !session.isInUse() &&
            (victim == m_sessions.end() || session.idleTime() > victim->second->idleTime())) {
            victim = entry;
        }
    }
    if (victim == m_sessions.end()) {
        return false;
    }
    m_sessions.erase(victim);
    return true;
}

void SessionTable::forgetOldOpenings(Clock::time_point now)
{
    std::erase_if(m_openings, [now](const auto &entry) {
        return now - entry.second.at >= openingMemory || entry.second.session.expired();
    });
}

} // namespace appserver
