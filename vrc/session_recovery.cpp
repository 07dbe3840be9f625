// SPDX-License-Identifier: MIT
#include "vrc/Failure.h"
#include "vrc/Session.h"

#include <cstdint>
#include <random>

namespace vrc {
namespace {

constexpr std::chrono::seconds nonceLife{50}; ///< the server recognises one for 60
constexpr unsigned patientLosses = 2;         ///< after so many lost streams short bodies are tried

} // namespace

/// The number of a command that is about to be sent. What became of everything sent before is known then.
std::uint64_t Session::nextNumber(const RemoteCommand &command)
{
    const bool isRepeated = m_unanswered && m_unanswered->line == command.line;
    if (m_state.sessionId.empty()) {
        const bool isFresh = std::chrono::steady_clock::now() - m_nonceTime < nonceLife;
        if (!isRepeated || !isFresh) {
            m_unanswered.reset();
            renewNonce();
        }
    } else if (m_isBroken || (m_unanswered && !isRepeated)) {
        recover(command);
    }
    return m_issued + 1;
}

/// Finds out how far the server has come, and sends the queued commands that it has not carried out once
/// more.
void Session::recover(const RemoteCommand &command)
{
    const std::uint64_t last = askProgress();
    resolveUnanswered(command, last);
    m_acknowledged = std::max(m_acknowledged, std::min(last, m_issued));
    m_pending.dropThrough(last);
    sendAgain(last);
    m_isBroken = false;
}

std::uint64_t Session::askProgress()
{
    OutgoingBody body{sessionFrame(), {}};
    wire::append(body.frames, wire::QueryFrame{m_pending.appendedObject()});
    Expectation expectation;
    expectation.isQuery = true;
    m_isDivisible = false;
    const bool isProcedure = m_unanswered && m_unanswered->line.starts_with("VR_PROC=");
    const Answer answer =
        m_channel.exchange(body, expectation, isProcedure ? Patience::procedure : patienceOfQueue(), "query");
    if (answer.requestError || answer.queuedError) {
        m_failure = answer.requestError ? answer.requestError : answer.queuedError;
        throw Failure(*m_failure);
    }
    const std::uint64_t highest = m_issued + (m_unanswered ? 1 : 0);
    if (!answer.progress || answer.progress->lastNumber < m_acknowledged ||
        answer.progress->lastNumber > highest) {
        fail(wire::errors::strangeAnswer,
             "the answer of the server makes no sense: its progress is impossible");
    }
    const std::uint64_t last = answer.progress->lastNumber;
    const std::optional<std::uint64_t> size = last <= m_issued ? m_pending.expectedSize(last) : std::nullopt;
    if (size && answer.progress->objectBytes != size) {
        m_failure =
            wire::makeError(wire::errors::strangeAnswer, "OBJECT:FILE_APPEND: the server has lost blocks");
        throw Failure(*m_failure);
    }
    return last;
}

/// A different command was given after one whose answer is missing: that one counts as carried out, or as
/// never given.
void Session::resolveUnanswered(const RemoteCommand &command, std::uint64_t lastCarriedOut)
{
    if (!m_unanswered || m_unanswered->line == command.line) {
        return;
    }
    if (lastCarriedOut >= m_unanswered->number) {
        m_issued = m_unanswered->number;
        m_appended.forgetAll();
        m_block = {};
    }
    m_unanswered.reset();
}

void Session::sendAgain(std::uint64_t lastCarriedOut)
{
    const PendingQueue again = m_pending; // answers on the way shorten the queue itself
    m_batch.clear();
    try {
        again.forEachAfter(lastCarriedOut, [this](const QueuedCommand &queued) {
            deliver(bodyOf(queued), queued.number, "again: " + std::to_string(queued.number));
        });
    } catch (const Failure &failure) {
        m_isBroken = true;
        if (wire::isError(failure.error(), wire::errors::fileRead)) {
            m_channel.abandon();
            m_failure =
                wire::makeError(wire::errors::fileRead, "OBJECT:SEND: " + failure.error().description);
            throw Failure(*m_failure);
        }
        throw;
    } catch (...) {
        m_isBroken = true;
        throw;
    }
}

void Session::noteLoss(const RemoteCommand &command, std::uint64_t number)
{
    if (const Answer *answer = m_channel.partialAnswer()) {
        takeWelcome(*answer);
    }
    m_unanswered = Unanswered{number, command.line};
    m_isBroken = !m_pending.isEmpty();
    m_batch.clear();
}

/// A line that breaks often still lets short bodies through.
void Session::learnFromLoss()
{
    if (m_isBroken && m_isDivisible && ++m_losses >= patientLosses) {
        shortenBodies();
    }
}

void Session::renewNonce()
{
    std::random_device random;
    for (std::uint8_t &byte : m_nonce) {
        byte = static_cast<std::uint8_t>(random());
    }
    m_nonceTime = std::chrono::steady_clock::now();
}

} // namespace vrc
