// SPDX-License-Identifier: MIT
#pragma once

#include "appserver/SessionObjects.h"
#include "wire/error_info.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace appserver {

class ClientConnection;

/// What a session knows about the person who logged in.
struct Person
{
    std::string name;
    std::string digest; ///< the control digest that the portal address must carry
};

/// The answers that may have to be given again, as encoded frames by sequence number.
class KeptAnswers
{
public:
    static constexpr std::size_t maxBytes = 1024 * 1024;
    static constexpr std::size_t maxCount = 10'000;

    void keep(std::uint64_t number, std::string frames);
    void forgetUpTo(std::uint64_t number);
    [[nodiscard]] const std::string *find(std::uint64_t number) const;

    [[nodiscard]] bool isFull() const { return m_bytes >= maxBytes || m_answers.size() >= maxCount; }

private:
    std::map<std::uint64_t, std::string> m_answers;
    std::size_t m_bytes = 0;
};

/// One session of the protocol. One request at a time uses it (Use); what stands under "state" belongs to
/// that request.
class ServerSession
{
public:
    using Clock = std::chrono::steady_clock;

    ServerSession(std::string id, std::string application, std::filesystem::path folder);

    /// The right to use a session, until it is destroyed.
    class Use
    {
    public:
        Use() = default;

        explicit Use(std::shared_ptr<ServerSession> session) : m_session(std::move(session)) {}

        Use(Use &&) = default;
        Use &operator=(Use &&other) noexcept;
        Use(const Use &) = delete;
        Use &operator=(const Use &) = delete;
        ~Use();

        explicit operator bool() const { return m_session != nullptr; }

        ServerSession *operator->() const { return m_session.get(); }

    private:
        std::shared_ptr<ServerSession> m_session;
    };

    /// A request takes the session over: an earlier one that is still being received is cut off, one that is
    /// carrying out a command is waited for. Empty when a later request took it over meanwhile.
    [[nodiscard]] static Use takeOver(const std::shared_ptr<ServerSession> &session,
                                      ClientConnection *connection);
    /// Waits for the running request instead. Empty when it takes longer than the limit.
    [[nodiscard]] static Use wait(const std::shared_ptr<ServerSession> &session, std::chrono::seconds limit);

    [[nodiscard]] Clock::duration idleTime() const;
    [[nodiscard]] bool isInUse() const;
    void touch();

    const std::string id;
    const std::string application;
    std::atomic<bool> hasPerson{false}; ///< readable at any time, unlike person

    // State.
    std::string closeProcedure;
    bool opened = false; ///< the open procedure has been called
    bool wantsLogin = false;
    std::optional<Person> person;
    std::uint64_t lastNumber = 0;   ///< carried out
    std::uint64_t acknowledged = 0; ///< answers up to here have arrived
    KeptAnswers answers;
    std::optional<wire::ErrorInfo> failure; ///< of a queued command: in force until the session ends
    bool portalOpened = false;
    bool ended = false;
    SessionObjects objects;

private:
    void leave();

    mutable std::mutex m_mutex;
    std::condition_variable m_free;
    bool m_inUse = false;
    std::uint64_t m_claims = 0;
    ClientConnection *m_connection = nullptr; ///< of the request that uses the session
    std::atomic<Clock::time_point> m_lastUse;
};

} // namespace appserver
