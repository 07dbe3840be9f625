// SPDX-License-Identifier: MIT
#include "appserver/CommandRunner.h"

#include "appserver/CommandFailure.h"
#include "appserver/server_log.h"
#include "wire/limits.h"

#include <algorithm>
#include <system_error>

namespace appserver {

namespace {

namespace errors = wire::errors;

/// An answer takes no more memory than this and one object.
constexpr std::size_t answerMemoryBytes = 2 * 1024 * 1024;

/// Says what went wrong with the server itself, without telling strangers about its folders.
wire::ErrorInfo troubleOf(const std::exception &trouble)
{
    logFailure("command failed", trouble);
    const auto *system = dynamic_cast<const std::system_error *>(&trouble);
    const std::string reason = system != nullptr ? ": " + system->code().message() : std::string();
    return wire::makeError(errors::cannotStore, "the server cannot store the data" + reason);
}

std::size_t travellingBytes(const std::vector<TravellingObject> &objects)
{
    std::size_t bytes = 0;
    for (const TravellingObject &object : objects) {
        const auto *value = std::get_if<wire::Value>(&object.object);
        bytes += value != nullptr ? wire::encodeValue(*value).size() : wire::maxTravellingBytes + 1;
    }
    return bytes;
}

std::string describeFailed(const wire::CommandFrame &frame, const std::optional<wire::Command> &command)
{
    return (command ? command->name : std::string("malformed command")) + " (number " +
           std::to_string(frame.number) + ") failed: ";
}

/// What needs an object that could not be made fails by itself: what follows is carried out.
bool isForgiven(const std::optional<wire::Command> &command)
{
    return command && command->verb == wire::Verb::command && command->name == "OBJECT:CREATE";
}

} // namespace

CommandRunner::CommandRunner(AppServices &services, ServerSession &session, RequestAnswer &answer,
                             std::string remoteAddress)
    : m_services(services), m_session(session), m_answer(answer), m_remoteAddress(std::move(remoteAddress))
{}

bool CommandRunner::isNext(const wire::CommandFrame &frame) const
{
    return !m_session.failure && frame.number == m_session.lastNumber + 1;
}

void CommandRunner::run(PendingCommand pending)
{
    const std::uint64_t number = pending.frame.number;
    if (m_session.failure) {
        // In force until the session ends. Queued commands have no answer of their own.
        if (!pending.frame.isQueued) {
            addError(number, *m_session.failure);
        }
        return;
    }
    if (number > m_session.lastNumber + 1) {
        return addError(number, wire::makeError(errors::sequenceSkipped));
    }
    requireRoom();
    if (number <= m_session.lastNumber) {
        answerAgain(pending);
    } else {
        carryOutNext(pending);
    }
}

void CommandRunner::carryOutNext(PendingCommand &pending)
{
    CommandOutcome outcome;
    try {
        outcome = outcomeOf(pending);
    } catch (const CommandFailure &failure) {
        return failCommand(pending, failure.error());
    } catch (const std::exception &trouble) {
        return failCommand(pending, troubleOf(trouble));
    }
    m_session.lastNumber = pending.frame.number;
    succeed(pending, outcome);
}

CommandOutcome CommandRunner::outcomeOf(PendingCommand &pending)
{
    if (!pending.command) {
        throw CommandFailure(errors::unknownCommand, pending.problem);
    }
    ReceivedCommand received{*pending.command, pending.frame.offset, pending.frame.hash, std::nullopt,
                             m_remoteAddress};
    if (pending.object) {
        const std::string *name = pending.command->find("NAME");
        if (name == nullptr || *name != pending.object->name()) {
            throw CommandFailure(errors::unknownCommand, "the object that came has another name");
        }
        requireAdmission(m_session, *pending.command);
        requirePerson(m_session);
        received.object = pending.object->takeObject();
    }
    return carryOut(m_services, m_session, received);
}

void CommandRunner::succeed(const PendingCommand &pending, const CommandOutcome &outcome)
{
    if (pending.frame.isQueued) {
        m_toAcknowledge = pending.frame.number;
        return;
    }
    RequestAnswer frames;
    frames.add(wire::ResultFrame{pending.frame.number, outcome.result});
    const bool fetches = fetchesObject(*pending.command);
    if (fetches || travellingBytes(outcome.objects) <= wire::maxTravellingBytes) {
        for (const TravellingObject &object : outcome.objects) {
            frames.addObject(object.name, object.object);
        }
    }
    answerCommand(pending, std::move(frames));
}

void CommandRunner::failCommand(const PendingCommand &pending, wire::ErrorInfo error)
{
    m_session.lastNumber = pending.frame.number;
    if (pending.frame.isQueued) {
        error.description = describeFailed(pending.frame, pending.command) + error.description;
    }
    if (pending.frame.isQueued && !isForgiven(pending.command)) {
        m_session.failure = error;
    }
    RequestAnswer frames;
    frames.add(wire::ErrorFrame{pending.frame.number, std::move(error)});
    answerCommand(pending, std::move(frames));
}

void CommandRunner::answerCommand(const PendingCommand &pending, RequestAnswer frames)
{
    acknowledge();
    if (frames.holdsFiles()) {
        m_answer.join(std::move(frames));
        return;
    }
    std::string text = frames.takeText();
    m_answer.addFrames(text);
    if (!pending.command || !fetchesObject(*pending.command)) {
        m_session.answers.keep(pending.frame.number, std::move(text));
    }
}

void CommandRunner::answerAgain(const PendingCommand &pending)
{
    const std::uint64_t number = pending.frame.number;
    if (pending.frame.isQueued) {
        m_toAcknowledge = std::max(m_toAcknowledge, number);
        return;
    }
    acknowledge();
    if (const std::string *kept = m_session.answers.find(number)) {
        m_answer.addFrames(*kept);
    } else if (number <= m_session.acknowledged) {
        addError(number,
                 wire::makeError(errors::malformedRequest, "the answer has been acknowledged already"));
    } else if (pending.command && fetchesObject(*pending.command)) {
        PendingCommand again = pending;
        const std::uint64_t last = m_session.lastNumber;
        carryOutNext(again);
        m_session.lastNumber = last;
    } else {
        m_answer.add(wire::ResultFrame{number, {}}); // it was queued, and succeeded
    }
}

void CommandRunner::addError(std::uint64_t number, wire::ErrorInfo error)
{
    acknowledge();
    m_answer.add(wire::ErrorFrame{number, std::move(error)});
}

void CommandRunner::acknowledge()
{
    if (m_toAcknowledge != 0) {
        m_answer.add(wire::AcknowledgedFrame{m_toAcknowledge});
        m_toAcknowledge = 0;
    }
}

void CommandRunner::requireRoom() const
{
    if (m_answer.memoryBytes() > answerMemoryBytes || m_session.answers.isFull()) {
        throw CommandFailure(errors::malformedRequest, "too many answers are wanted at once");
    }
}

} // namespace appserver
