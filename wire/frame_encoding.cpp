// SPDX-License-Identifier: MIT
#include "wire/byte_io.h"
#include "wire/frame_layout.h"
#include "wire/frames.h"
#include "wire/limits.h"

namespace wire {
namespace {

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

void appendNumberFrame(std::string &out, FrameType type, std::uint64_t number)
{
    const FrameWriter frame(out, type);
    appendNumber(out, number, 8);
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

} // namespace wire
