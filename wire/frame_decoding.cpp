// SPDX-License-Identifier: MIT
#include "wire/byte_io.h"
#include "wire/frame_layout.h"
#include "wire/frames.h"
#include "wire/limits.h"
#include "wire/utf8.h"

#include <algorithm>
#include <utility>

namespace wire {
namespace {

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

template <class Frame>
std::optional<Frame> finish(const ByteReader &reader, Frame frame)
{
    return reader.complete() ? std::optional<Frame>(std::move(frame)) : std::nullopt;
}

} // namespace

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
    if (flags > allFlags || frame.number == 0 || isStray || frame.line.size() > maxCommandBytes ||
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
