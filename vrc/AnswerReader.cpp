// SPDX-License-Identifier: MIT
#include "vrc/AnswerReader.h"

#include "vrc/Failure.h"
#include "wire/limits.h"

#include <algorithm>
#include <utility>

namespace vrc {
namespace {

using wire::FrameType;

[[noreturn]] void failStrange(const std::string &what)
{
    fail(wire::errors::strangeAnswer, "the answer of the server makes no sense: " + what);
}

void require(bool condition, const char *what)
{
    if (!condition) {
        failStrange(what);
    }
}

template <class Frame>
Frame decoded(std::optional<Frame> frame)
{
    require(frame.has_value(), "a frame is malformed");
    return std::move(*frame);
}

/// It ends up in an address, so that it may hold nothing that has a meaning there.
bool isSessionId(std::string_view id)
{
    return !id.empty() && std::all_of(id.begin(), id.end(), [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '-' ||
               c == '_';
    });
}

} // namespace

AnswerReader::AnswerReader(Expectation expectation) : m_expectation(std::move(expectation))
{}

void AnswerReader::take(std::string_view bytes)
{
    while (!bytes.empty()) {
        require(!m_answer.isComplete, "something follows its end");
        const wire::FrameReader::Status status = m_reader.take(bytes);
        require(status != wire::FrameReader::Status::malformed, "a frame is unknown or too long");
        if (status == wire::FrameReader::Status::frame) {
            ++m_frames;
            takeFrame(m_reader.type(), m_reader.payload());
        }
    }
}

void AnswerReader::finish()
{
    if (!m_answer.isComplete) {
        fail(wire::errors::network, "network error: the answer of the server was cut off");
    }
}

void AnswerReader::takeFrame(FrameType type, std::string_view payload)
{
    require(m_missingBytes == 0 || type == FrameType::data, "an object is cut off");
    switch (type) {
    case FrameType::welcome:
        return takeWelcome(payload);
    case FrameType::result:
        return takeResult(payload);
    case FrameType::acknowledged:
        return takeAcknowledged(payload);
    case FrameType::error:
        return takeError(payload);
    case FrameType::progress:
        return takeProgress(payload);
    case FrameType::complete:
        return takeComplete(payload);
    case FrameType::object:
        return startObject(payload);
    case FrameType::data:
        return takeData(payload);
    default:
        failStrange("a frame does not belong there");
    }
}

void AnswerReader::takeWelcome(std::string_view payload)
{
    require(m_expectation.isHello && m_frames == 1, "a welcome nobody asked for");
    m_answer.welcome = decoded(wire::decodeWelcome(payload));
    require(m_answer.welcome->version == wire::protocolVersion, "a version nobody offered");
    require(isSessionId(m_answer.welcome->sessionId), "a session identifier with strange characters");
}

void AnswerReader::takeResult(std::string_view payload)
{
    wire::ResultFrame frame = decoded(wire::decodeResult(payload));
    const bool isOpen =
        !m_answer.result && !m_answer.error && !m_answer.requestError && !m_answer.queuedError;
    require(frame.number == m_expectation.waiting && isOpen, "a result nobody waits for");
    require(!m_expectation.isHello || m_answer.welcome, "a result without a welcome");
    m_answer.result = std::move(frame.text);
}

void AnswerReader::takeAcknowledged(std::string_view payload)
{
    const wire::AcknowledgedFrame frame = decoded(wire::decodeAcknowledged(payload));
    const bool isKnown = frame.number <= m_expectation.lastNumber && frame.number > m_answer.acknowledged;
    require(isKnown && frame.number >= m_expectation.firstNumber, "an acknowledgement of what was not sent");
    m_answer.acknowledged = frame.number;
}

void AnswerReader::takeError(std::string_view payload)
{
    wire::ErrorFrame frame = decoded(wire::decodeError(payload));
    if (isForgiven(frame.number)) {
        require(!m_answer.result && m_forgivenErrors++ < m_expectation.forgiven.size(), "one error too many");
        m_answer.forgivenError = m_answer.forgivenError ? m_answer.forgivenError : std::move(frame.error);
        return;
    }
    std::optional<wire::ErrorInfo> &place = frame.number == 0                       ? m_answer.requestError
                                            : frame.number == m_expectation.waiting ? m_answer.error
                                                                                    : m_answer.queuedError;
    const bool isSent = frame.number >= m_expectation.firstNumber && frame.number <= m_expectation.lastNumber;
    require(frame.number == 0 || isSent, "an error of what was not sent");
    require(!place && !m_answer.result, "one error too many");
    place = std::move(frame.error);
}

bool AnswerReader::isForgiven(std::uint64_t number) const
{
    const std::vector<std::uint64_t> &forgiven = m_expectation.forgiven;
    return std::find(forgiven.begin(), forgiven.end(), number) != forgiven.end();
}

void AnswerReader::takeProgress(std::string_view payload)
{
    require(m_expectation.isQuery && !m_answer.progress, "a progress nobody asked for");
    m_answer.progress = decoded(wire::decodeProgress(payload));
}

void AnswerReader::takeComplete(std::string_view payload)
{
    (void)decoded(wire::decodeComplete(payload));
    m_answer.isComplete = true;
}

bool AnswerReader::isFetched(const wire::ObjectFrame &object) const
{
    return !m_expectation.fetchedName.empty() && object.name == m_expectation.fetchedName &&
           m_answer.objects.empty();
}

void AnswerReader::startObject(std::string_view payload)
{
    const wire::ObjectFrame frame = decoded(wire::decodeObject(payload));
    require(m_answer.result.has_value(), "an object without a result");
    const bool isWanted = isFetched(frame);
    if (!isWanted) {
        require(m_expectation.mayTravel && m_answer.objects.size() < wire::maxSessionObjects,
                "an object nobody asked for");
        require(frame.bytes <= wire::maxTravellingBytes - m_travellingBytes, "objects that are too large");
        m_travellingBytes += static_cast<std::size_t>(frame.bytes);
    }
    m_answer.objects.push_back({frame.type, frame.name, {}, {}});
    m_missingBytes = frame.bytes;
    if (isWanted && frame.type == wire::ObjectType::file) {
        openFile();
    }
    if (m_missingBytes == 0) {
        finishObject();
    }
}

void AnswerReader::openFile()
{
    std::string path = m_expectation.fetchedPath;
    if (path.empty()) {
        path = createTemporaryFile();
        m_answer.objects.back().file.emplace(path, true);
    }
    m_file = std::make_unique<FileWriter>(path);
}

void AnswerReader::takeData(std::string_view bytes)
{
    require(bytes.size() <= m_missingBytes, "more bytes than the object has");
    m_missingBytes -= bytes.size();
    if (m_file) {
        m_file->write(bytes);
    } else {
        m_answer.objects.back().bytes.append(bytes);
    }
    if (m_missingBytes == 0) {
        finishObject();
    }
}

void AnswerReader::finishObject()
{
    if (m_file) {
        m_file->close();
        m_file.reset();
    }
}

} // namespace vrc
