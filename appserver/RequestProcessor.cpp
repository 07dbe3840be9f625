// SPDX-License-Identifier: MIT
#include "appserver/RequestProcessor.h"

#include "appserver/AppServices.h"
#include "appserver/CommandFailure.h"
#include "appserver/ServerConfiguration.h"
#include "appserver/control_digest.h"
#include "appserver/server_log.h"
#include "appserver/session_procedures.h"
#include "wire/limits.h"

#include <algorithm>
#include <system_error>

namespace appserver {

namespace {

namespace errors = wire::errors;

/// An answer takes no more memory than this and one object.
constexpr std::size_t answerMemoryBytes = 2 * 1024 * 1024;

/// Thrown for a request that nobody who knows the protocol sends.
class MalformedRequest
{};

void requireWellFormed(bool condition)
{
    if (!condition) {
        throw MalformedRequest();
    }
}

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

void checkApplication(const ServerConfiguration &configuration, const wire::HelloFrame &hello)
{
    const auto found = configuration.applications.find(hello.application);
    // Both are compared whatever the first one says.
    const bool known = found != configuration.applications.end();
    const bool user = known && equalSecrets(found->second.user, hello.user);
    const bool password = known && equalSecrets(found->second.password, hello.password);
    if (!known || !user || !password) {
        throw CommandFailure(errors::applicationRefused);
    }
    if (hello.singleSignOn && !configuration.singleSignOn.isOn()) {
        throw CommandFailure(errors::applicationRefused, "this server offers no single sign-on");
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
    addAcknowledgement();
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
        return onEnd(payload);
    default:
        throw MalformedRequest();
    }
}

void RequestProcessor::onHello(std::string_view payload)
{
    const auto hello = wire::decodeHello(payload);
    requireWellFormed(hello && hello->lowestVersion <= hello->highestVersion);
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
    checkApplication(*configuration, hello);
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
    if (session->ended) {
        throw CommandFailure(errors::unknownSession);
    }
    if (!session->opened) {
        session->wantsLogin = configuration->applications.find(hello.application)->second.loginWanted;
        session->closeProcedure = hello.closeProcedure;
        if (!person.empty()) {
            session->person = Person{person, controlDigest(session->id, {}, {})};
            session->hasPerson = true;
        }
        try {
            callSessionProcedure(m_services, *session, hello.openProcedure);
        } catch (...) {
            session->ended = true;
            m_services.sessions.remove(session->id);
            throw;
        }
        session->opened = true;
    }
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
}

void RequestProcessor::onCommand(std::string_view payload)
{
    requireWellFormed(!m_pending);
    auto frame = wire::decodeCommand(payload);
    requireWellFormed(frame && frame->number > 0);
    m_hasCommands = true;
    Pending pending;
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
    if (!m_requestError && isNext(m_pending->frame) && m_use->person) {
        m_pending->object->keepFor(m_use->objects, m_services.configuration()->limits);
    }
    if (m_pending->object->isComplete()) {
        completePending();
    }
}

void RequestProcessor::onData(std::string_view payload)
{
    requireWellFormed(!payload.empty() && m_pending && m_pending->object && m_pending->object->take(payload));
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

void RequestProcessor::onEnd(std::string_view payload)
{
    requireWellFormed(payload.empty() && !m_hasCommands);
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

bool RequestProcessor::isNext(const wire::CommandFrame &frame) const
{
    return m_use && !m_use->failure && frame.number == m_use->lastNumber + 1;
}

void RequestProcessor::completePending()
{
    Pending pending = std::move(*m_pending);
    m_pending.reset();
    if (m_requestError) {
        return;
    }
    const std::uint64_t number = pending.frame.number;
    if (m_use->failure) {
        // In force until the session ends. Queued commands have no answer of their own.
        if (!pending.frame.isQueued) {
            addAcknowledgement();
            m_answer.add(wire::ErrorFrame{number, *m_use->failure});
        }
    } else if (number > m_use->lastNumber + 1) {
        addAcknowledgement();
        m_answer.add(wire::ErrorFrame{number, wire::makeError(errors::sequenceSkipped)});
    } else if (!mayAnswerMore()) {
        return;
    } else if (number <= m_use->lastNumber) {
        answerAgain(pending);
    } else {
        carryOutNext(pending);
    }
}

void RequestProcessor::carryOutNext(Pending &pending)
{
    CommandOutcome outcome;
    try {
        outcome = outcomeOf(pending);
    } catch (const CommandFailure &failure) {
        return failCommand(pending, failure.error());
    } catch (const std::exception &trouble) {
        return failCommand(pending, troubleOf(trouble));
    }
    m_use->lastNumber = pending.frame.number;
    succeed(pending, outcome);
}

CommandOutcome RequestProcessor::outcomeOf(Pending &pending)
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
        requireAdmission(*m_session, *pending.command);
        requirePerson(*m_session);
        received.object = pending.object->takeObject();
    }
    return carryOut(m_services, *m_session, received);
}

void RequestProcessor::succeed(const Pending &pending, const CommandOutcome &outcome)
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

void RequestProcessor::failCommand(const Pending &pending, wire::ErrorInfo error)
{
    m_use->lastNumber = pending.frame.number;
    if (pending.frame.isQueued) {
        error.description = describeFailed(pending.frame, pending.command) + error.description;
    }
    if (pending.frame.isQueued && !isForgiven(pending.command)) {
        m_use->failure = error;
    }
    RequestAnswer frames;
    frames.add(wire::ErrorFrame{pending.frame.number, std::move(error)});
    answerCommand(pending, std::move(frames));
}

void RequestProcessor::answerCommand(const Pending &pending, RequestAnswer frames)
{
    addAcknowledgement();
    if (frames.holdsFiles()) {
        m_answer.join(std::move(frames));
        return;
    }
    std::string text = frames.takeText();
    m_answer.addFrames(text);
    if (!pending.command || !fetchesObject(*pending.command)) {
        m_use->answers.keep(pending.frame.number, std::move(text));
    }
}

void RequestProcessor::answerAgain(const Pending &pending)
{
    const std::uint64_t number = pending.frame.number;
    if (pending.frame.isQueued) {
        m_toAcknowledge = std::max(m_toAcknowledge, number);
        return;
    }
    addAcknowledgement();
    if (const std::string *kept = m_use->answers.find(number)) {
        m_answer.addFrames(*kept);
    } else if (number <= m_use->acknowledged) {
        m_answer.add(wire::ErrorFrame{
            number, wire::makeError(errors::malformedRequest, "the answer has been acknowledged already")});
    } else if (pending.command && fetchesObject(*pending.command)) {
        Pending again = pending;
        const std::uint64_t last = m_use->lastNumber;
        carryOutNext(again);
        m_use->lastNumber = last;
    } else {
        m_answer.add(wire::ResultFrame{number, {}}); // it was queued, and succeeded
    }
}

void RequestProcessor::addAcknowledgement()
{
    if (m_toAcknowledge != 0) {
        m_answer.add(wire::AcknowledgedFrame{m_toAcknowledge});
        m_toAcknowledge = 0;
    }
}

bool RequestProcessor::mayAnswerMore()
{
    if (m_answer.memoryBytes() <= answerMemoryBytes && !m_use->answers.isFull()) {
        return true;
    }
    m_requestError = wire::makeError(errors::malformedRequest, "too many answers are wanted at once");
    return false;
}

} // namespace appserver
