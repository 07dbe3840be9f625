// SPDX-License-Identifier: MIT
#include "vrc/Failure.h"
#include "vrc/Session.h"
#include "wire/limits.h"

#include <algorithm>

namespace vrc {
namespace {

constexpr std::size_t firstBodyLimit = 256 * 1024;
constexpr std::size_t smallestBodyLimit = 68 * 1024; ///< a block with its frames

} // namespace

/// Sends a command that waits, in the open stream or in a body of its own, behind what is queued.
Answer Session::exchange(const RemoteCommand &command, std::uint64_t number, const OutgoingBody &body)
{
    Expectation expectation = expectationFor(command, number);
    const Patience patience = patienceFor(command);
    const std::string_view what = command.line;
    if (m_channel.isStreaming()) {
        expectation.firstNumber = m_firstInBody;
        expectation.forgiven = m_pending.forgiven();
        m_isDivisible = true;
        return m_channel.finishStream(body, expectation, patience, what);
    }
    if (!m_batch.empty() && m_batch.size() + body.bytes() > m_bodyLimit.value_or(0)) {
        flushBatch();
    }
    if (!m_batch.empty()) {
        expectation.firstNumber = m_firstInBody;
        expectation.forgiven = m_pending.forgiven();
    }
    m_isDivisible = !m_batch.empty();
    return m_channel.exchange({opening() + m_batch + body.frames, body.file}, expectation, patience, what);
}

/// Sends a command that does not wait.
void Session::deliver(const OutgoingBody &body, std::uint64_t number, std::string_view what)
{
    if (m_bodyLimit) {
        addToBatch(body, number);
        return;
    }
    m_isDivisible = true;
    if (!m_channel.isStreaming()) {
        m_firstInBody = number;
        m_channel.openStream(sessionFrame(), Expectation{});
    }
    m_channel.stream(body, expectationOfQueue(number), patienceOfQueue(), what);
    heedStream();
}

void Session::addToBatch(const OutgoingBody &body, std::uint64_t number)
{
    if (!m_batch.empty() && m_batch.size() + body.bytes() > *m_bodyLimit) {
        flushBatch();
    }
    if (m_batch.empty()) {
        m_firstInBody = number;
    }
    m_batch.append(body.frames);
    m_lastInBody = number;
}

void Session::flushBatch()
{
    m_isDivisible = true;
    const Answer answer = m_channel.exchange({sessionFrame() + m_batch, {}}, expectationOfQueue(m_lastInBody),
                                             patienceOfQueue(), "queued commands");
    m_batch.clear();
    takeQueueAnswer(answer, m_lastInBody);
}

/// Ends the request that is open for the queue, or sends what the next one would have taken along.
void Session::endQueue()
{
    try {
        if (m_channel.isStreaming()) {
            m_isDivisible = true;
            const Answer answer = m_channel.finishStream({}, expectationOfQueue(m_issued), patienceOfQueue(),
                                                         "end of the queue");
            takeQueueAnswer(answer, m_issued);
        } else if (!m_batch.empty()) {
            flushBatch();
        }
    } catch (...) {
        m_isBroken = !m_pending.isEmpty();
        m_batch.clear();
        throw;
    }
}

void Session::takeQueueAnswer(const Answer &answer, std::uint64_t lastNumber)
{
    for (const std::optional<wire::ErrorInfo> &error : {answer.requestError, answer.queuedError}) {
        if (error) {
            m_failure = error;
            throw Failure(*error);
        }
    }
    m_acknowledged = lastNumber;
    m_pending.dropThrough(lastNumber);
}

Expectation Session::expectationOfQueue(std::uint64_t lastNumber) const
{
    Expectation expectation;
    expectation.firstNumber = m_firstInBody;
    expectation.lastNumber = lastNumber;
    expectation.forgiven = m_pending.forgiven();
    return expectation;
}

Patience Session::patienceFor(const RemoteCommand &command) const
{
    using Kind = RemoteCommand::Kind;
    const bool opens = m_state.sessionId.empty() && !m_settings.openProcedure.empty();
    const bool isLong = command.kind == Kind::procedure || command.kind == Kind::decompress || opens;
    return isLong ? Patience::procedure : patienceOfQueue();
}

/// A waiting command waits for what is queued before it, too.
Patience Session::patienceOfQueue() const
{
    return m_pending.isLong() ? Patience::procedure : Patience::stall;
}

/// A server that has found an error need not be sent the rest of the document.
void Session::heedStream()
{
    const Answer *answer = m_channel.partialAnswer();
    for (const std::optional<wire::ErrorInfo> &error : {answer->requestError, answer->queuedError}) {
        if (error) {
            m_failure = error;
            m_channel.abandon();
            throw Failure(*m_failure);
        }
    }
}

std::string Session::opening() const
{
    if (!m_state.sessionId.empty()) {
        return sessionFrame();
    }
    wire::HelloFrame hello;
    hello.lowestVersion = hello.highestVersion = wire::protocolVersion;
    hello.nonce = m_nonce;
    hello.application = m_settings.application;
    hello.user = m_settings.user;
    hello.password = m_settings.password;
    hello.openProcedure = m_settings.openProcedure;
    hello.closeProcedure = m_settings.closeProcedure;
    hello.singleSignOn = m_settings.singleSignOn;
    std::string frames;
    wire::append(frames, hello);
    return frames;
}

std::string Session::sessionFrame() const
{
    std::string frames;
    wire::append(frames, wire::SessionFrame{wire::protocolVersion, m_state.sessionId, m_acknowledged});
    return frames;
}

Expectation Session::expectationFor(const RemoteCommand &command, std::uint64_t number) const
{
    Expectation expectation;
    expectation.isHello = m_state.sessionId.empty();
    expectation.firstNumber = expectation.lastNumber = expectation.waiting = number;
    expectation.mayTravel = command.kind == RemoteCommand::Kind::procedure;
    if (command.kind == RemoteCommand::Kind::get) {
        expectation.fetchedName = command.name;
        const LocalFile *file = m_state.objects.holds(command.name)
                                    ? std::get_if<LocalFile>(&m_state.objects.find(command.name))
                                    : nullptr;
        expectation.fetchedPath = file == nullptr ? std::string() : file->path();
    }
    return expectation;
}

/// Something on the way takes no chunked body, or none of this length: shorter ones of known length may pass.
void Session::shrinkBodies(const BodyRefused &refusal)
{
    const bool canShrink = m_isDivisible && (!m_bodyLimit || *m_bodyLimit > smallestBodyLimit);
    if (!canShrink) {
        fail(wire::errors::strangeAnswer,
             "the server, or something on the way to it, does not take the request",
             "HTTP status " + std::to_string(refusal.status));
    }
    shortenBodies();
}

void Session::shortenBodies()
{
    m_bodyLimit = m_bodyLimit ? std::max(smallestBodyLimit, *m_bodyLimit / 2) : firstBodyLimit;
}

} // namespace vrc
