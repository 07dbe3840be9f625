// SPDX-License-Identifier: MIT
#pragma once

#include "appserver/ObjectReceiver.h"
#include "appserver/RequestAnswer.h"
#include "appserver/ServerSession.h"
#include "appserver/session_commands.h"
#include "wire/frames.h"

#include <cstdint>
#include <optional>
#include <string>

namespace appserver {

class AppServices;

/// A command of a request, and the object that came behind it.
struct PendingCommand
{
    wire::CommandFrame frame;
    std::optional<wire::Command> command; ///< no value for a malformed line, `problem` says why
    std::string problem;
    std::optional<ObjectReceiver> object;
};

/// Carries the commands of one request out in its session, each once whatever is sent again, and writes their
/// answers.
class CommandRunner
{
public:
    /// What is given has to outlive the runner.
    CommandRunner(AppServices &services, ServerSession &session, RequestAnswer &answer,
                  std::string remoteAddress);

    /// A command whose object has arrived. Throws CommandFailure when nothing further of this request can be
    /// answered.
    void run(PendingCommand pending);

    /// Answers the queued commands that have succeeded since it was last called. To be called at the end.
    void acknowledge();

    /// True for the command that the session waits for: an object that comes with another one is not kept.
    [[nodiscard]] bool isNext(const wire::CommandFrame &frame) const;

private:
    void carryOutNext(PendingCommand &pending);
    void answerAgain(const PendingCommand &pending);
    [[nodiscard]] CommandOutcome outcomeOf(PendingCommand &pending);
    void succeed(const PendingCommand &pending, const CommandOutcome &outcome);
    void failCommand(const PendingCommand &pending, wire::ErrorInfo error);
    void answerCommand(const PendingCommand &pending, RequestAnswer frames);
    void addError(std::uint64_t number, wire::ErrorInfo error);
    void requireRoom() const;

    AppServices &m_services;
    ServerSession &m_session;
    RequestAnswer &m_answer;
    std::string m_remoteAddress;
    std::uint64_t m_toAcknowledge = 0; ///< 0: nothing
};

} // namespace appserver
