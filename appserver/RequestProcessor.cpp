// SPDX-License-Identifier: MIT
#include "appserver/RequestProcessor.h"

#include "appserver/AppServices.h"
#include "appserver/CommandFailure.h"
#include "appserver/session_opening.h"
#include "appserver/session_procedures.h"
#include "wire/limits.h"

#include <algorithm>

namespace appserver {

namespace {

namespace errors = wire::errors;

/// Thrown for a request that nobody who knows the protocol sends.
class MalformedRequest
{};

void requireWellFormed(bool condition)
{
    if (!condition) {
        throw MalformedRequest();
    }
}

} // namespace

RequestProcessor::RequestProcessor(AppServices &services, ClientConnection *connection,
                                   std::string remoteAddress)
    : m_services(services), m_connection(connection), m_remoteAddress(std::move(remoteAddress)),
      m_reader(wire::Direction::request)
{}

bool RequestProcessor::take(std::string_view piece)
{
    while (!piece.empty() && !m_malformed && !m_superseded && !m_wantsTicket) {
        const auto status = m_reader.take(piece);
        if (status == wire::FrameReader::Status::needsMore) {
            break;
        }
        m_malformed = status == wire::FrameReader::Status::malformed;
        if (!m_malformed) {
            takeFrame();
        }
    }
    return !m_malformed && !m_superseded && !m_wantsTicket;
}

void RequestProcessor::takeFrame()
{
    try {
        onFrame(m_reader.type(), m_reader.payload());
    } catch (const MalformedRequest &) {
        m_malformed = true;
    } catch (const CommandFailure &failure) {
        m_requestError = failure.error();
    }
}

RequestAnswer &RequestProcessor::finish()
{
    const bool cutOff = !m_reader.isBetweenFrames() || m_pending || !m_started;
    if (m_runner) {
        m_runner->acknowledge();
    }
    if (m_malformed || cutOff) {
        m_malformed = true;
        m_answer.add(wire::ErrorFrame{0, wire::makeError(errors::malformedRequest)});
    } else if (m_requestError) {
        m_answer.add(wire::ErrorFrame{0, *m_requestError});
    }
    m_answer.add(wire::CompleteFrame{m_use ? m_use->lastNumber : 0});
    if (!m_answer.holdsFiles()) {
        m_use = ServerSession::Use();
    }
    return m_answer;
}

void RequestProcessor::onFrame(wire::FrameType type, std::string_view payload)
{
    using wire::FrameType;
    const bool opens = type == FrameType::hello || type == FrameType::session;
    requireWellFormed(opens != m_started && !m_ended);
    switch (type) {
    case FrameType::hello:
        return onHello(payload);
    case FrameType::session:
        return onSession(payload);
    case FrameType::command:
        return onCommand(payload);
    case FrameType::object:
        return onObject(payload);
    case FrameType::data:
        return onData(payload);
    case FrameType::query:
        return onQuery(payload);
    case FrameType::end:
        return onEnd();
    default:
        throw MalformedRequest();
    }
}

void RequestProcessor::onHello(std::string_view payload)
{
    const auto hello = wire::decodeHello(payload);
    requireWellFormed(hello.has_value());
    m_started = true;
    if (hello->lowestVersion > wire::protocolVersion || hello->highestVersion < wire::protocolVersion) {
        throw CommandFailure(errors::noCommonVersion);
    }
    openSession(*hello);
}

/// False when single sign-on is wanted and no good ticket has come.
bool RequestProcessor::takeTicket(const wire::HelloFrame &hello, std::string &person)
{
    if (!hello.singleSignOn) {
        return true;
    }
    const std::optional<std::string> user = m_ticketReader ? m_ticketReader() : std::nullopt;
    m_wantsTicket = !user;
    person = user.value_or(std::string());
    return !m_wantsTicket;
}

void RequestProcessor::openSession(const wire::HelloFrame &hello)
{
    const auto configuration = m_services.configuration();
    const ApplicationSettings &application = requireApplication(*configuration, hello);
    std::string person;
    if (!takeTicket(hello, person)) {
        return;
    }
    const auto session = m_services.sessions.open(hello, configuration->limits.sessions, person);
    if (!session) {
        throw CommandFailure(errors::tooManySessions);
    }
    use(session);
    if (!m_use) {
        return;
    }
    setUpSession(m_services, *session, application, hello, person);
    const auto idle = static_cast<std::uint32_t>(configuration->limits.sessionIdle.count());
    m_answer.add(wire::WelcomeFrame{wire::protocolVersion, session->id, idle, session->wantsLogin});
}

void RequestProcessor::onSession(std::string_view payload)
{
    const auto frame = wire::decodeSession(payload);
    requireWellFormed(frame.has_value());
    m_started = true;
    if (frame->version != wire::protocolVersion) {
        throw CommandFailure(errors::noCommonVersion);
    }
    const auto session = m_services.sessions.find(frame->id, m_services.configuration()->limits.sessionIdle);
    if (session) {
        use(session);
    }
    if (!session || (m_use && m_use->ended)) {
        m_session.reset();
        throw CommandFailure(errors::unknownSession);
    }
    if (m_use) {
        m_use->acknowledged = std::max(m_use->acknowledged, std::min(frame->acknowledged, m_use->lastNumber));
        m_use->answers.forgetUpTo(m_use->acknowledged);
    }
}

void RequestProcessor::use(const std::shared_ptr<ServerSession> &session)
{
    m_session = session;
    m_use = ServerSession::takeOver(session, m_connection);
    m_superseded = !m_use;
    m_runner.emplace(m_services, *session, m_answer, m_remoteAddress);
}

void RequestProcessor::onCommand(std::string_view payload)
{
    requireWellFormed(!m_pending);
    auto frame = wire::decodeCommand(payload);
    requireWellFormed(frame.has_value());
    m_hasCommands = true;
    PendingCommand pending;
    pending.command = wire::parseCommand(frame->line, pending.problem);
    pending.frame = std::move(*frame);
    pending.frame.line.clear();
    m_pending = std::move(pending);
    if (!m_pending->command || !sendsObject(*m_pending->command)) {
        completePending();
    }
}

void RequestProcessor::onObject(std::string_view payload)
{
    const auto frame = wire::decodeObject(payload);
    requireWellFormed(frame && m_pending && !m_pending->object);
    m_pending->object.emplace(*frame);
    if (!m_requestError && m_runner->isNext(m_pending->frame) && m_use->person) {
        m_pending->object->keepFor(m_use->objects, m_services.configuration()->limits);
    }
    if (m_pending->object->isComplete()) {
        completePending();
    }
}

void RequestProcessor::onData(std::string_view payload)
{
    requireWellFormed(m_pending && m_pending->object && m_pending->object->take(payload));
    if (m_pending->object->isComplete()) {
        completePending();
    }
}

void RequestProcessor::onQuery(std::string_view payload)
{
    const auto query = wire::decodeQuery(payload);
    requireWellFormed(query && !m_hasCommands);
    m_ended = true;
    if (m_requestError) {
        return;
    }
    if (m_use->failure) {
        m_requestError = *m_use->failure;
        return;
    }
    wire::ProgressFrame progress{m_use->lastNumber, std::nullopt};
    const ServerObject *object = m_use->objects.find(query->objectName);
    if (const auto *file = object != nullptr ? std::get_if<FilePtr>(object) : nullptr) {
        progress.objectBytes = (*file)->size();
    }
    m_answer.add(progress);
}

void RequestProcessor::onEnd()
{
    requireWellFormed(!m_hasCommands);
    m_ended = true;
    if (m_requestError) {
        // What shall end is not there any more: that is no error.
        if (wire::isError(*m_requestError, errors::unknownSession)) {
            m_requestError.reset();
        }
        return;
    }
    m_use->ended = true;
    m_services.sessions.remove(m_use->id);
    callSessionProcedure(m_services, *m_session, m_use->closeProcedure);
}

void RequestProcessor::completePending()
{
    PendingCommand pending = std::move(*m_pending);
    m_pending.reset();
    if (!m_requestError) {
        m_runner->run(std::move(pending));
    }
}

} // namespace appserver
