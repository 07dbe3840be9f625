// SPDX-License-Identifier: MIT
#pragma once

#include "appserver/ServerSession.h"
#include "appserver/secrets.h"
#include "wire/frames.h"

#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

namespace appserver {

/// All open sessions. Safe on several threads.
class SessionTable
{
public:
    using Clock = ServerSession::Clock;

    /// Files of sessions go into folders of their own in this folder.
    explicit SessionTable(std::filesystem::path folder);

    /// Opens a session; a hello that is repeated within a minute gets the session that the first one opened.
    /// When there are too many, the one that is idle for the longest time among those without a person makes
    /// room; when there is none, null.
    /// `person` is known by a ticket, empty without.
    [[nodiscard]] std::shared_ptr<ServerSession> open(const wire::HelloFrame &hello, std::size_t maxSessions,
                                                      const std::string &person = {},
                                                      Clock::time_point now = Clock::now());
    /// Null when there is none, or it expired.
    [[nodiscard]] std::shared_ptr<ServerSession> find(std::string_view id, std::chrono::seconds maxIdle);
    void remove(const std::string &id);
    void removeIdle(std::chrono::seconds maxIdle);
    [[nodiscard]] std::size_t count() const;

private:
    struct Opening
    {
        LookupKey credentials;
        std::weak_ptr<ServerSession> session;
        Clock::time_point at;
    };

    [[nodiscard]] std::shared_ptr<ServerSession> openedBy(const wire::HelloFrame &hello,
                                                          const LookupKey &credentials);
    [[nodiscard]] bool makeRoom(std::size_t maxSessions);
    void forgetOldOpenings(Clock::time_point now);

    std::filesystem::path m_folder;
    mutable std::mutex m_mutex;
    std::map<LookupKey, std::shared_ptr<ServerSession>> m_sessions;
    std::map<wire::Nonce, Opening> m_openings;
};

} // namespace appserver
