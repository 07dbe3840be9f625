// SPDX-License-Identifier: MIT
#include "wire/frames.h"

#include "wire/byte_io.h"
#include "wire/limits.h"
#include "wire/utf8.h"

#include <algorithm>
#include <utility>

namespace wire {
namespace {

constexpr std::uint8_t flagQueued = 1;
constexpr std::uint8_t flagOffset = 2;
constexpr std::uint8_t flagHash = 4;
constexpr std::uint64_t noObject = ~std::uint64_t{0};
constexpr std::size_t maxShortTextBytes = 4096; ///< texts of a hello and of an error

constexpr std::string_view requestLetters = "HSCODQE";
constexpr std::string_view answerLetters = "WRODAXPZ";

/// Writes the header now and the length when the payload stands.
class FrameWriter
{
public:
    FrameWriter(std::string &out, FrameType type) : m_out(out)
    {
        m_out.push_back(static_cast<char>(type));
        appendNumber(m_out, 0, 4);
        m_start = m_out.size();
    }

    ~FrameWriter()
    {
        const std::size_t bytes = m_out.size() - m_start;
        for (std::size_t i = 0; i < 4; ++i) {
            m_out[m_start - 1 - i] = static_cast<char>(static_cast<std::uint8_t>(bytes >> (8 * i)));
        }
    }

    FrameWriter(const FrameWriter &) = delete;
    FrameWriter &operator=(const FrameWriter &) = delete;

private:
    std::string &m_out;
    std::size_t m_start = 0;
};

template <std::size_t size>
void appendArray(std::string &out, const std::array<std::uint8_t, size> &bytes)
{
    for (const std::uint8_t byte : bytes) {
        out.push_back(static_cast<char>(byte));
    }
}

template <std::size_t size>
std::array<std::uint8_t, size> takeArray(ByteReader &reader)
{
    std::array<std::uint8_t, size> array{};
    const std::string_view bytes = reader.bytes(size);
    std::transform(bytes.begin(), bytes.end(), array.begin(),
                   [](char c) { return static_cast<std::uint8_t>(c); });
    return array;
}

std::string takeText(ByteReader &reader, std::size_t maxBytes)
{
    return std::string(reader.text(maxBytes));
}

/// A whole payload that is one number.
std::optional<std::uint64_t> decodeNumber(std::string_view payload)
{
    ByteReader reader(payload);
    const std::uint64_t number = reader.u64();
    return reader.complete() ? std::optional(number) : std::nullopt;
}

void appendNumberFrame(std::string &out, FrameType type, std::uint64_t number)
{
    const FrameWriter frame(out, type);
    appendNumber(out, number, 8);
}

template <class Frame>
std::optional<Frame> finish(const ByteReader &reader, Frame frame)
{
    return reader.complete() ? std::optional<Frame>(std::move(frame)) : std::nullopt;
}

/// Error texts are cut to what a receiver accepts, at a character boundary.
std::string_view shortened(std::string_view text)
{
    if (text.size() <= maxShortTextBytes) {
        return text;
    }
    std::size_t end = maxShortTextBytes;
    while (end > 0 && (static_cast<std::uint8_t>(text[end]) & 0xc0) == 0x80) {
        --end;
    }
    return text.substr(0, end);
}

} // namespace

std::optional<FrameType> frameTypeOf(char letter, Direction direction)
{
    const std::string_view letters = direction == Direction::request ? requestLetters : answerLetters;
    if (letters.find(letter) == std::string_view::npos) {
        return std::nullopt;
    }
    return static_cast<FrameType>(letter);
}

std::size_t maxPayloadBytes(FrameType type)
{
    switch (type) {
    case FrameType::data:
        return maxDataBytes;
    case FrameType::end:
        return 0;
    case FrameType::acknowledged:
    case FrameType::complete:
        return 8;
    case FrameType::progress:
        return 16;
    case FrameType::command:
        return maxCommandBytes + 33;
    case FrameType::hello:
    case FrameType::error:
        return 5 * (maxShortTextBytes + 4) + 21;
    case FrameType::session:
    case FrameType::object:
    case FrameType::query:
    case FrameType::welcome:
        return maxNameBytes + 16;
    case FrameType::result:
        break;
    }
    return longestPayloadBytes;
}

void append(std::string &out, const HelloFrame &frame)
{
    const FrameWriter writer(out, FrameType::hello);
    appendNumber(out, frame.lowestVersion, 2);
    appendNumber(out, frame.highestVersion, 2);
    appendArray(out, frame.nonce);
    for (const std::string *text :
         {&frame.application, &frame.user, &frame.password, &frame.openProcedure, &frame.closeProcedure}) {
        appendText(out, *text);
    }
    appendNumber(out, frame.singleSignOn ? 1 : 0, 1);
}

void append(std::string &out, const SessionFrame &frame)
{
    const FrameWriter writer(out, FrameType::session);
    appendNumber(out, frame.version, 2);
    appendText(out, frame.id);
    appendNumber(out, frame.acknowledged, 8);
}

void append(std::string &out, const CommandFrame &frame)
{
    const FrameWriter writer(out, FrameType::command);
    const int flags =
        (frame.isQueued ? flagQueued : 0) | (frame.offset ? flagOffset : 0) | (frame.hash ? flagHash : 0);
    appendNumber(out, frame.number, 8);
    appendNumber(out, static_cast<std::uint64_t>(flags), 1);
    appendNumber(out, frame.offset.value_or(0), 8);
    appendArray(out, frame.hash.value_or(Hash{}));
    out.append(frame.line);
}

void append(std::string &out, const ObjectFrame &frame)
{
    const FrameWriter writer(out, FrameType::object);
    appendNumber(out, static_cast<std::uint64_t>(frame.type), 1);
    appendText(out, frame.name);
    appendNumber(out, frame.bytes, 8);
}

void append(std::string &out, const QueryFrame &frame)
{
    const FrameWriter writer(out, FrameType::query);
    appendText(out, frame.objectName);
}

void append(std::string &out, const WelcomeFrame &frame)
{
    const FrameWriter writer(out, FrameType::welcome);
    appendNumber(out, frame.version, 2);
    appendText(out, frame.sessionId);
    appendNumber(out, frame.idleSeconds, 4);
    appendNumber(out, frame.wantsLogin ? 1 : 0, 1);
}

void append(std::string &out, const ResultFrame &frame)
{
    const FrameWriter writer(out, FrameType::result);
    appendNumber(out, frame.number, 8);
    out.append(frame.text);
}

void append(std::string &out, const AcknowledgedFrame &frame)
{
    appendNumberFrame(out, FrameType::acknowledged, frame.number);
}

void append(std::string &out, const ErrorFrame &frame)
{
    const FrameWriter writer(out, FrameType::error);
    appendNumber(out, frame.number, 8);
    appendNumber(out, frame.error.code, 4);
    appendText(out, shortened(frame.error.service));
    appendText(out, shortened(frame.error.errorClass));
    appendText(out, shortened(frame.error.description));
    appendText(out, shortened(frame.error.info));
}

void append(std::string &out, const ProgressFrame &frame)
{
    const FrameWriter writer(out, FrameType::progress);
    appendNumber(out, frame.lastNumber, 8);
    appendNumber(out, frame.objectBytes.value_or(noObject), 8);
}

void append(std::string &out, const CompleteFrame &frame)
{
    appendNumberFrame(out, FrameType::complete, frame.lastNumber);
}

void appendEnd(std::string &out)
{
    const FrameWriter writer(out, FrameType::end);
}

void appendDataHeader(std::string &out, std::size_t bytes)
{
    out.push_back(static_cast<char>(FrameType::data));
    appendNumber(out, bytes, 4);
}

void appendValue(std::string &out, std::string_view name, const Value &value)
{
    const std::string encoded = encodeValue(value);
    append(out, ObjectFrame{typeOf(value), std::string(name), encoded.size()});
    for (std::string_view rest = encoded; !rest.empty();) {
        const std::string_view piece = rest.substr(0, maxDataBytes);
        appendDataHeader(out, piece.size());
        out.append(piece);
        rest.remove_prefix(piece.size());
    }
}

std::optional<HelloFrame> decodeHello(std::string_view payload)
{
    ByteReader reader(payload);
    HelloFrame frame;
    frame.lowestVersion = reader.u16();
    frame.highestVersion = reader.u16();
    frame.nonce = takeArray<16>(reader);
    for (std::string *text :
         {&frame.application, &frame.user, &frame.password, &frame.openProcedure, &frame.closeProcedure}) {
        *text = takeText(reader, maxShortTextBytes);
    }
    const std::uint8_t flags = reader.u8();
    frame.singleSignOn = flags == 1;
    if (flags > 1 || frame.lowestVersion > frame.highestVersion) {
        reader.fail();
    }
    return finish(reader, std::move(frame));
}

std::optional<SessionFrame> decodeSession(std::string_view payload)
{
    ByteReader reader(payload);
    SessionFrame frame;
    frame.version = reader.u16();
    frame.id = takeText(reader, maxNameBytes);
    frame.acknowledged = reader.u64();
    return finish(reader, std::move(frame));
}

std::optional<CommandFrame> decodeCommand(std::string_view payload)
{
    ByteReader reader(payload);
    CommandFrame frame;
    frame.number = reader.u64();
    const std::uint8_t flags = reader.u8();
    const std::uint64_t offset = reader.u64();
    const Hash hash = takeArray<16>(reader);
    frame.line = reader.rest();
    frame.isQueued = (flags & flagQueued) != 0;
    if ((flags & flagOffset) != 0) {
        frame.offset = offset;
    }
    if ((flags & flagHash) != 0) {
        frame.hash = hash;
    }
    const bool isStray = (!frame.offset && offset != 0) || (!frame.hash && hash != Hash{});
    if (flags > 7 || frame.number == 0 || isStray || frame.line.size() > maxCommandBytes ||
        !isText(frame.line)) {
        reader.fail();
    }
    return finish(reader, std::move(frame));
}

std::optional<ObjectFrame> decodeObject(std::string_view payload)
{
    ByteReader reader(payload);
    const std::optional<ObjectType> type = typeFromNumber(reader.u8());
    ObjectFrame frame;
    frame.type = type.value_or(ObjectType::string);
    frame.name = takeText(reader, maxNameBytes);
    frame.bytes = reader.u64();
    const std::uint64_t limit = frame.type == ObjectType::file ? maxFileBytes : maxValueBytes;
    if (!type || !isName(frame.name) || frame.bytes > limit) {
        reader.fail();
    }
    return finish(reader, std::move(frame));
}

std::optional<QueryFrame> decodeQuery(std::string_view payload)
{
    ByteReader reader(payload);
    QueryFrame frame{takeText(reader, maxNameBytes)};
    return finish(reader, std::move(frame));
}

std::optional<WelcomeFrame> decodeWelcome(std::string_view payload)
{
    ByteReader reader(payload);
    WelcomeFrame frame;
    frame.version = reader.u16();
    frame.sessionId = takeText(reader, maxNameBytes);
    frame.idleSeconds = reader.u32();
    const std::uint8_t wantsLogin = reader.u8();
    frame.wantsLogin = wantsLogin == 1;
    if (wantsLogin > 1 || frame.sessionId.empty()) {
        reader.fail();
    }
    return finish(reader, std::move(frame));
}

std::optional<ResultFrame> decodeResult(std::string_view payload)
{
    ByteReader reader(payload);
    ResultFrame frame;
    frame.number = reader.u64();
    frame.text = reader.rest();
    if (frame.number == 0 || !isText(frame.text)) {
        reader.fail();
    }
    return finish(reader, std::move(frame));
}

std::optional<AcknowledgedFrame> decodeAcknowledged(std::string_view payload)
{
    const std::optional<std::uint64_t> number = decodeNumber(payload);
    return number ? std::optional(AcknowledgedFrame{*number}) : std::nullopt;
}

std::optional<ErrorFrame> decodeError(std::string_view payload)
{
    ByteReader reader(payload);
    ErrorFrame frame;
    frame.number = reader.u64();
    frame.error.code = reader.u32();
    for (std::string *text :
         {&frame.error.service, &frame.error.errorClass, &frame.error.description, &frame.error.info}) {
        *text = takeText(reader, maxShortTextBytes);
    }
    return finish(reader, std::move(frame));
}

std::optional<ProgressFrame> decodeProgress(std::string_view payload)
{
    ByteReader reader(payload);
    ProgressFrame frame;
    frame.lastNumber = reader.u64();
    const std::uint64_t bytes = reader.u64();
    if (bytes != noObject) {
        frame.objectBytes = bytes;
    }
    return finish(reader, frame);
}

std::optional<CompleteFrame> decodeComplete(std::string_view payload)
{
    const std::optional<std::uint64_t> number = decodeNumber(payload);
    return number ? std::optional(CompleteFrame{*number}) : std::nullopt;
}

} // namespace wire
