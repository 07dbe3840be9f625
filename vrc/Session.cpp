// SPDX-License-Identifier: MIT
#include "vrc/Session.h"

#include "vrc/Failure.h"
#include "wire/limits.h"

#include <algorithm>

namespace vrc {
namespace {

using Kind = RemoteCommand::Kind;

} // namespace

Session::Session(const ConnectionSettings &settings, LocalState &state)
    : m_settings(settings), m_state(state), m_channel(settings)
{
    renewNonce();
}

std::string Session::run(const wire::Command &command, std::string_view line)
{
    if (command.verb == wire::Verb::closeSession) {
        close();
        return {};
    }
    const RemoteCommand described = describe(command, line);
    try {
        return takeTravelled(described) ? std::string() : send(described);
    } catch (...) {
        if (described.kind == Kind::get) {
            m_state.objects.remove(described.name); // nothing stale is ever taken for an answer
        }
        throw;
    }
}

/// Repeats what is safe to be repeated without telling anybody: after bodies have been made shorter, and once
/// when a connection that was kept turned out to be gone.
template <class Action>
auto Session::insist(Action action)
{
    for (bool mayRepeat = true;;) {
        try {
            return action();
        } catch (const BodyRefused &refusal) {
            shrinkBodies(refusal);
        } catch (const Failure &failure) {
            const bool isNetwork = wire::isError(failure.error(), wire::errors::network);
            if (isNetwork) {
                learnFromLoss();
            }
            if (!mayRepeat || !isNetwork || !m_channel.hadLostConnection()) {
                throw;
            }
            mayRepeat = false;
        }
    }
}

/// Never waits for the queue: with a stream open its connection is dropped, and the session closed on another
/// one.
void Session::close()
{
    m_channel.abandon();
    m_isBroken = !m_pending.isEmpty();
    if (m_state.sessionId.empty()) {
        reset();
        return;
    }
    OutgoingBody body{sessionFrame(), {}};
    wire::appendEnd(body.frames);
    const Patience patience = m_settings.closeProcedure.empty() ? Patience::stall : Patience::procedure;
    m_travelled.clear();
    m_isDivisible = false;
    const Answer answer =
        insist([&] { return m_channel.exchange(body, Expectation{}, patience, "VR_CLOSE_SESSION=|YES|"); });
    if (answer.requestError && !wire::isError(*answer.requestError, wire::errors::unknownSession)) {
        throw Failure(*answer.requestError);
    }
    reset();
}

void Session::reset()
{
    m_state.sessionId.clear();
    m_issued = m_acknowledged = 0;
    m_unanswered.reset();
    m_failure.reset();
    m_pending.clear();
    m_isBroken = false;
    m_batch.clear();
    m_appended.forgetAll();
    m_block = {};
    m_travelled.clear();
    renewNonce();
}

std::string Session::send(const RemoteCommand &command)
{
    m_travelled.clear();
    if (m_failure) {
        throw Failure(*m_failure);
    }
    if (mayQueue(command)) {
        sendQueued(command);
        return {};
    }
    return sendWaiting(command);
}

std::string Session::sendWaiting(const RemoteCommand &command)
{
    std::uint64_t number = 0;
    OutgoingBody body;
    Answer answer = insist([&] {
        number = nextNumber(command);
        body = bodyOf(command, {number, false}, m_state.objects, m_appended);
        try {
            return exchange(command, number, body);
        } catch (...) {
            noteLoss(command, number);
            throw;
        }
    });
    std::string result = settle(command, number, answer);
    noteEffects(command, std::move(body));
    return result;
}

void Session::sendQueued(const RemoteCommand &command)
{
    OutgoingBody body;
    insist([&] {
        const std::uint64_t number = nextNumber(command);
        body = bodyOf(command, {number, true}, m_state.objects, m_appended);
        try {
            deliver(body, number, command.line);
        } catch (...) {
            noteLoss(command, number);
            throw;
        }
        m_issued = number;
        m_unanswered.reset();
        m_pending.add(queuedForm(command, number, body));
    });
    noteEffects(command, std::move(body));
}

/// What is queued has to fit into memory until its answer arrives, blocks aside: they can be read again. An
/// object that nothing is queued before has a request to itself, and is there when the caller hands the
/// session to somebody else.
bool Session::mayQueue(const RemoteCommand &command) const
{
    if (m_state.sessionId.empty() || !command.mayQueue || m_pending.isFull() ||
        command.line.size() > wire::maxDataBytes) {
        return false;
    }
    return command.kind != Kind::send || isBlock(command) || (!m_pending.isEmpty() && canBeKept(command));
}

bool Session::isBlock(const RemoteCommand &command) const
{
    const LocalFile *file = m_state.objects.holds(command.name)
                                ? std::get_if<LocalFile>(&m_state.objects.find(command.name))
                                : nullptr;
    return command.isPlain && file != nullptr && file->copiedFrom() &&
           file->copiedFrom()->bytes <= wire::maxDataBytes;
}

bool Session::canBeKept(const RemoteCommand &command) const
{
    if (!m_state.objects.holds(command.name)) {
        return false;
    }
    const LocalObject &object = m_state.objects.find(command.name);
    const auto *file = std::get_if<LocalFile>(&object);
    const std::uint64_t bytes =
        file != nullptr ? file->size() : wire::encodeValue(std::get<wire::Value>(object)).size();
    return bytes <= wire::maxDataBytes;
}

QueuedCommand Session::queuedForm(const RemoteCommand &command, std::uint64_t number,
                                  const OutgoingBody &body) const
{
    QueuedCommand queued;
    queued.number = number;
    queued.name = command.name;
    if (command.kind == Kind::remove && command.isPlain) {
        return queued;
    }
    if (command.kind == Kind::send && isBlock(command)) {
        queued.kind = QueuedCommand::Kind::send;
        queued.slice = *m_state.objects.file(command.name).copiedFrom();
        return queued;
    }
    if (command.kind == Kind::append && command.isPlain && m_block.name == command.sourceName &&
        m_appended.size(command.name)) {
        queued.kind = QueuedCommand::Kind::append;
        queued.sourceName = command.sourceName;
        queued.offset = *m_appended.size(command.name);
        return queued;
    }
    queued.kind = QueuedCommand::Kind::kept;
    queued.frames = body.frames;
    queued.isForgiven = command.kind == Kind::create;
    queued.isLong = command.kind == Kind::decompress;
    if (command.kind == Kind::decompress || command.kind == Kind::sizeToVariable) {
        queued.name = command.targetName; // of a size there is none: nothing of the object changes
    }
    return queued;
}

void Session::finishQueue() noexcept
{
    if (m_pending.isEmpty() || m_isBroken || m_failure) {
        return;
    }
    try {
        insist([this] {
            if (m_isBroken) {
                recover({});
            }
            endQueue();
        });
    } catch (...) { // nobody is left who could be told
    }
}

} // namespace vrc
