// SPDX-License-Identifier: MIT
#include "vrc/Channel.h"

#include "vrc/Failure.h"
#include "vrc/TransportPool.h"
#include "vrc/file_access.h"
#include "wire/limits.h"

#include <algorithm>
#include <utility>

namespace vrc {
namespace {

std::string textOf(const wire::ErrorInfo &error)
{
    return "error " + error.service + "/" + error.errorClass + "/" + std::to_string(error.code);
}

std::string described(const wire::ErrorInfo &error)
{
    return textOf(error) + " (" + error.description + ")";
}

std::string outcomeOf(const Answer &answer)
{
    for (const std::optional<wire::ErrorInfo> &error :
         {answer.requestError, answer.queuedError, answer.error}) {
        if (error) {
            return textOf(*error);
        }
    }
    return answer.forgivenError ? "success but for " + described(*answer.forgivenError) : "success";
}

} // namespace

std::uint64_t OutgoingBody::bytes() const
{
    const std::uint64_t dataBytes = file ? file->bytes : 0;
    const std::uint64_t dataFrames = (dataBytes + wire::maxDataBytes - 1) / wire::maxDataBytes;
    return frames.size() + dataBytes + dataFrames * wire::frameHeaderBytes;
}

Channel::Channel(const ConnectionSettings &settings) : m_settings(settings), m_log(settings.socketLog)
{}

Channel::~Channel()
{
    if (m_transport) {
        TransportPool::instance().give(std::move(m_transport));
    }
}

Transport &Channel::transport()
{
    if (!m_transport) {
        m_transport = TransportPool::instance().take(m_settings);
    }
    return *m_transport;
}

/// Logs how the exchange ended when it failed, and drops it.
template <class Action>
void Channel::guarded(Action action)
{
    try {
        action();
    } catch (const Failure &failure) {
        abandon();
        m_log.answer(described(failure.error()), transport().figures());
        throw;
    } catch (const BodyRefused &refusal) {
        abandon();
        m_log.answer("body refused with status " + std::to_string(refusal.status), transport().figures());
        throw;
    } catch (...) {
        abandon();
        throw;
    }
}

Answer Channel::exchange(const OutgoingBody &body, const Expectation &expectation, Patience patience,
                         std::string_view what)
{
    Transport &line = transport();
    Answer answer;
    m_reader = std::make_unique<AnswerReader>(expectation);
    m_sendPatience = Patience::stall;
    m_log.request(what);
    guarded([&] {
        line.begin(*m_reader, body.bytes(), m_hasSession);
        write(body);
        answer = finish(patience);
    });
    return answer;
}

void Channel::openStream(std::string_view frames, const Expectation &expectation)
{
    Transport &line = transport();
    m_reader = std::make_unique<AnswerReader>(expectation);
    m_log.request("queued commands");
    m_sendPatience = Patience::stall;
    m_held = frames;
    guarded([&] {
        line.begin(*m_reader, std::nullopt, m_hasSession);
        m_isStreaming = true;
    });
}

void Channel::stream(const OutgoingBody &body, const Expectation &expectation, Patience patience,
                     std::string_view what)
{
    m_sendPatience = patience;
    m_reader->expect(expectation);
    m_log.request(what);
    guarded([&] { write(body); });
}

Answer Channel::finishStream(const OutgoingBody &body, const Expectation &expectation, Patience patience,
                             std::string_view what)
{
    Answer answer;
    m_reader->expect(expectation);
    m_log.request(what);
    guarded([&] {
        write(body);
        answer = finish(patience);
    });
    return answer;
}

Answer Channel::finish(Patience patience)
{
    m_transport->finish(patience);
    m_isStreaming = false;
    m_reader->finish();
    m_hasSession = true;
    Answer answer = std::move(m_reader->answer());
    m_reader.reset();
    m_log.answer(outcomeOf(answer), m_transport->figures());
    return answer;
}

void Channel::write(const OutgoingBody &body)
{
    if (!m_held.empty()) {
        m_transport->send(std::exchange(m_held, {}) + body.frames, m_sendPatience);
    } else if (!body.frames.empty()) {
        m_transport->send(body.frames, m_sendPatience);
    }
    if (body.file) {
        writeFile(*body.file);
    }
}

void Channel::writeFile(const FileSlice &file)
{
    const FileReader reader(file.path);
    std::string frame;
    std::string piece;
    for (std::uint64_t done = 0; done < file.bytes; done += piece.size()) {
        const auto count =
            static_cast<std::size_t>(std::min<std::uint64_t>(wire::maxDataBytes, file.bytes - done));
        reader.read(file.offset + done, piece, count);
        frame.clear();
        wire::appendDataHeader(frame, piece.size());
        frame.append(piece);
        m_transport->send(frame, m_sendPatience);
    }
}

void Channel::abandon() noexcept
{
    m_held.clear();
    m_isStreaming = false;
    if (m_transport) {
        m_transport->abandon();
    }
}

} // namespace vrc
