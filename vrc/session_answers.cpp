// SPDX-License-Identifier: MIT
#include "vrc/Failure.h"
#include "vrc/Session.h"
#include "vrc/file_access.h"

#include <algorithm>

namespace vrc {
namespace {

using Kind = RemoteCommand::Kind;

wire::Value decodedObject(const ReceivedObject &object)
{
    std::optional<wire::Value> value = wire::decodeValue(object.type, object.bytes);
    if (!value) {
        fail(wire::errors::strangeAnswer,
             "the server sent an object " + object.name + " that makes no sense");
    }
    return std::move(*value);
}

LocalObject localForm(ReceivedObject object)
{
    if (object.type != wire::ObjectType::file) {
        return decodedObject(object);
    }
    if (object.file) {
        return std::move(*object.file);
    }
    LocalFile file(createTemporaryFile(), true);
    FileWriter writer(file.path());
    writer.write(object.bytes);
    writer.close();
    return file;
}

} // namespace

/// An object that came with the procedure's result needs no way to the server.
bool Session::takeTravelled(const RemoteCommand &command)
{
    const auto found =
        std::find_if(m_travelled.begin(), m_travelled.end(),
                     [&command](const ReceivedObject &object) { return object.name == command.name; });
    if (command.kind != Kind::get || !command.isPlain || found == m_travelled.end()) {
        return false;
    }
    ReceivedObject copy{found->type, found->name, found->bytes, {}};
    m_state.objects.put(command.name, localForm(std::move(copy)));
    return true;
}

std::string Session::settle(const RemoteCommand &command, std::uint64_t number, Answer &answer)
{
    takeWelcome(answer);
    m_batch.clear();
    if (answer.requestError) {
        if (!m_pending.isEmpty()) {
            m_failure = answer.requestError;
        }
        m_pending.clear();
        throw Failure(*answer.requestError);
    }
    m_issued = m_acknowledged = number;
    m_unanswered.reset();
    m_pending.clear();
    if (answer.queuedError) {
        m_failure = answer.queuedError;
        throw Failure(*m_failure);
    }
    if (answer.error) {
        m_appended.forget(command.name);
        throw Failure(*answer.error);
    }
    if (!answer.result) {
        fail(wire::errors::strangeAnswer, "the answer of the server makes no sense: there is no result");
    }
    takeFetched(command, answer);
    return std::move(*answer.result);
}

void Session::takeWelcome(const Answer &answer)
{
    if (answer.welcome) {
        m_state.sessionId = answer.welcome->sessionId;
    }
}

void Session::takeFetched(const RemoteCommand &command, Answer &answer)
{
    if (command.kind == Kind::procedure) {
        m_travelled = std::move(answer.objects);
        return;
    }
    if (command.kind != Kind::get) {
        return;
    }
    if (answer.objects.empty()) {
        if (!command.noError) {
            fail(wire::errors::strangeAnswer, "the server did not send the object " + command.name);
        }
        m_state.objects.remove(command.name);
        return;
    }
    ReceivedObject &object = answer.objects.front();
    if (object.type == wire::ObjectType::file && !object.file) {
        m_state.objects.file(command.name).forgetOrigin(); // it went to the path of that object
        return;
    }
    m_state.objects.put(command.name, localForm(std::move(object)));
}

/// What the library knows of the server's files after a command that succeeded, or is on its way.
void Session::noteEffects(const RemoteCommand &command, OutgoingBody body)
{
    if (!command.hasNames) { // the server alone knows which object it was
        m_appended.forgetAll();
        m_block = {};
        return;
    }
    switch (command.kind) {
    case Kind::create:
        return command.createsFile ? m_appended.created(command.name) : m_appended.forget(command.name);
    case Kind::send: {
        m_appended.forget(command.name);
        const bool isBlock = !body.file || body.file->bytes == 0;
        m_block = isBlock ? SentBlock{command.name, {}, body.blockBytes} : SentBlock{};
        if (m_block.bytes > 0) {
            m_block.frames = std::move(body.frames);
        }
        return;
    }
    case Kind::append:
        return m_block.name == command.sourceName ? m_appended.appended(command.name, m_block.contents())
                                                  : m_appended.forget(command.name);
    case Kind::remove:
        m_appended.forget(command.name);
        m_block = m_block.name == command.name ? SentBlock{} : std::move(m_block);
        return;
    case Kind::decompress:
        return m_appended.forget(command.targetName);
    case Kind::procedure:
        m_appended.forgetAll();
        m_block = {};
        return;
    case Kind::get:
    case Kind::sizeToVariable:
    case Kind::setInteger:
    case Kind::other:
        return;
    }
}

} // namespace vrc
