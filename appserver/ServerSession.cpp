// SPDX-License-Identifier: MIT
#include "appserver/ServerSession.h"

#include "appserver/ClientConnection.h"

namespace appserver {

void KeptAnswers::keep(std::uint64_t number, std::string frames)
{
    m_bytes += frames.size();
    m_answers.insert_or_assign(number, std::move(frames));
}

void KeptAnswers::forgetUpTo(std::uint64_t number)
{
    const auto end = m_answers.upper_bound(number);
    for (auto answer = m_answers.begin(); answer != end; ++answer) {
        m_bytes -= answer->second.size();
    }
    m_answers.erase(m_answers.begin(), end);
}

const std::string *KeptAnswers::find(std::uint64_t number) const
{
    const auto found = m_answers.find(number);
    return found == m_answers.end() ? nullptr : &found->second;
}

ServerSession::ServerSession(std::string sessionId, std::string applicationName, std::filesystem::path folder)
    : id(std::move(sessionId)), application(std::move(applicationName)), objects(std::move(folder)),
      m_lastUse(Clock::now())
{}

ServerSession::Use &ServerSession::Use::operator=(Use &&other) noexcept
{
    if (this != &other) {
        if (m_session) {
            m_session->leave();
        }
        m_session = std::move(other.m_session);
    }
    return *this;
}

ServerSession::Use::~Use()
{
    if (m_session) {
        m_session->leave();
    }
}

ServerSession::Use ServerSession::takeOver(const std::shared_ptr<ServerSession> &session,
                                           ClientConnection *connection)
{
    std::unique_lock lock(session->m_mutex);
    const std::uint64_t claim = ++session->m_claims;
    if (session->m_connection != nullptr) {
        session->m_connection->abort();
    }
    session->m_free.notify_all();
    session->m_free.wait(lock, [&] { return !session->m_inUse || session->m_claims != claim; });
    if (session->m_claims != claim) {
        return {};
    }
    session->m_inUse = true;
    session->m_connection = connection;
    session->touch();
    return Use(session);
}

ServerSession::Use ServerSession::wait(const std::shared_ptr<ServerSession> &session,
                                       std::chrono::seconds limit)
{
    std::unique_lock lock(session->m_mutex);
    if (!session->m_free.wait_for(lock, limit, [&] { return !session->m_inUse; })) {
        return {};
    }
    session->m_inUse = true;
    session->touch();
    return Use(session);
}

ServerSession::Clock::duration ServerSession::idleTime() const
{
    return isInUse() ? Clock::duration::zero() : Clock::now() - m_lastUse.load();
}

bool ServerSession::isInUse() const
{
    const std::scoped_lock lock(m_mutex);
    return m_inUse;
}

void ServerSession::touch()
{
    m_lastUse = Clock::now();
}

void ServerSession::leave()
{
    const std::scoped_lock lock(m_mutex);
    m_inUse = false;
    m_connection = nullptr;
    touch();
    m_free.notify_all();
}

} // namespace appserver
