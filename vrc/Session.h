// SPDX-License-Identifier: MIT
#pragma once

#include "vrc/AppendedFiles.h"
#include "vrc/Channel.h"
#include "vrc/PendingQueue.h"
#include "vrc/RemoteCommand.h"
#include "vrc/local_commands.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vrc {

/// The session of one request with the server: numbers its commands, sends those that carry nothing back
/// without waiting, finds out after a lost connection what became of what was sent, and sends the rest again.
/// docs/protocol.md is its manual.
class Session
{
public:
    Session(const ConnectionSettings &settings, LocalState &state);

    /// Carries out a remote command and gives its result. Throws Failure.
    [[nodiscard]] std::string run(const wire::Command &command, std::string_view line);

    /// Sees what is queued carried out, although nothing waits for it any more: the session may live on.
    void finishQueue() noexcept;

private:
    /// A command whose answer did not come. Its number is the one after m_issued.
    struct Unanswered
    {
        std::uint64_t number = 0;
        std::string line;
    };

    /// The file that was sent last, when it fits into one data frame.
    struct SentBlock
    {
        std::string name;   ///< empty: none
        std::string frames; ///< at their end are the contents
        std::size_t bytes = 0;

        [[nodiscard]] std::string_view contents() const
        {
            return std::string_view(frames).substr(frames.size() - bytes);
        }
    };

    // The ways that a command can go (Session.cpp).
    void close();
    void reset();
    [[nodiscard]] std::string send(const RemoteCommand &command);
    [[nodiscard]] std::string sendWaiting(const RemoteCommand &command);
    void sendQueued(const RemoteCommand &command);
    [[nodiscard]] bool mayQueue(const RemoteCommand &command) const;
    [[nodiscard]] bool canBeKept(const RemoteCommand &command) const;
    [[nodiscard]] bool isBlock(const RemoteCommand &command) const;
    [[nodiscard]] QueuedCommand queuedForm(const RemoteCommand &command, std::uint64_t number,
                                           const OutgoingBody &body) const;
    template <class Action>
    auto insist(Action action);

    // What an answer says, and has brought along (session_answers.cpp).
    [[nodiscard]] bool takeTravelled(const RemoteCommand &command);
    [[nodiscard]] std::string settle(const RemoteCommand &command, std::uint64_t number, Answer &answer);
    void takeWelcome(const Answer &answer);
    void takeFetched(const RemoteCommand &command, Answer &answer);
    void noteEffects(const RemoteCommand &command, OutgoingBody body);

    // Bodies (session_bodies.cpp).
    [[nodiscard]] Answer exchange(const RemoteCommand &command, std::uint64_t number,
                                  const OutgoingBody &body);
    void deliver(const OutgoingBody &body, std::uint64_t number, std::string_view what);
    void addToBatch(const OutgoingBody &body, std::uint64_t number);
    void flushBatch();
    void endQueue();
    [[nodiscard]] Expectation expectationOfQueue(std::uint64_t lastNumber) const;
    [[nodiscard]] Patience patienceFor(const RemoteCommand &command) const;
    [[nodiscard]] Patience patienceOfQueue() const;
    void takeQueueAnswer(const Answer &answer, std::uint64_t lastNumber);
    void heedStream();
    [[nodiscard]] std::string opening() const;
    [[nodiscard]] std::string sessionFrame() const;
    [[nodiscard]] Expectation expectationFor(const RemoteCommand &command, std::uint64_t number) const;
    void shrinkBodies(const BodyRefused &refusal);
    void shortenBodies();

    // After a lost connection (session_recovery.cpp).
    [[nodiscard]] std::uint64_t nextNumber(const RemoteCommand &command);
    void recover(const RemoteCommand &command);
    [[nodiscard]] std::uint64_t askProgress();
    void resolveUnanswered(const RemoteCommand &command, std::uint64_t lastCarriedOut);
    void sendAgain(std::uint64_t lastCarriedOut);
    void noteLoss(const RemoteCommand &command, std::uint64_t number);
    void learnFromLoss();
    void renewNonce();

    const ConnectionSettings &m_settings;
    LocalState &m_state;
    Channel m_channel;

    std::uint64_t m_issued = 0;       ///< the last number whose command is on its way or was carried out
    std::uint64_t m_acknowledged = 0; ///< answers up to here have arrived
    std::optional<Unanswered> m_unanswered;
    std::optional<wire::ErrorInfo> m_failure; ///< in force until the session is closed
    PendingQueue m_pending;
    bool m_isBroken = false; ///< the connection was lost with commands pending
    unsigned m_losses = 0;   ///< of streams

    std::optional<std::size_t> m_bodyLimit; ///< set: bodies of known length, at most this long
    std::string m_batch;                    ///< queued frames that the next such body takes along
    std::uint64_t m_firstInBody = 1;        ///< numbers in the open stream, or in the batch
    std::uint64_t m_lastInBody = 0;
    bool m_isDivisible = false; ///< the last body could have been sent in smaller ones

    AppendedFiles m_appended;
    SentBlock m_block;
    std::vector<ReceivedObject> m_travelled; ///< with the result of the last procedure
    wire::Nonce m_nonce{};
    std::chrono::steady_clock::time_point m_nonceTime;
};

} // namespace vrc
