// SPDX-License-Identifier: MIT
#pragma once

#include "wire/error_info.h"
#include "wire/objects.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// The frames of docs/protocol.md: a type (one letter), the length of the payload (32 bits), the payload.
/// append() writes a whole frame to the end of `out`; decodeX() reads a payload and gives no value when it is
/// malformed, has bytes missing or left over. Views in decoded frames point into the payload.
namespace wire {

enum class FrameType : char
{
    hello = 'H',
    session = 'S',
    command = 'C',
    object = 'O',
    data = 'D',
    query = 'Q',
    end = 'E',
    welcome = 'W',
    result = 'R',
    acknowledged = 'A',
    error = 'X',
    progress = 'P',
    complete = 'Z',
};

enum class Direction
{
    request,
    answer
};

/// No value for a letter that starts no frame in this direction.
[[nodiscard]] std::optional<FrameType> frameTypeOf(char letter, Direction direction);

/// The longest payload of a frame of this type.
[[nodiscard]] std::size_t maxPayloadBytes(FrameType type);

inline constexpr std::size_t frameHeaderBytes = 5;

using Nonce = std::array<std::uint8_t, 16>;
using Hash = std::array<std::uint8_t, 16>; ///< XXH3 128 bits, canonical (big-endian) form

struct HelloFrame
{
    std::uint16_t lowestVersion = 0;
    std::uint16_t highestVersion = 0;
    Nonce nonce{};
    std::string application;
    std::string user;
    std::string password;
    std::string openProcedure;
    std::string closeProcedure;
    bool singleSignOn = false;
};

struct SessionFrame
{
    std::uint16_t version = 0;
    std::string id;
    std::uint64_t acknowledged = 0;
};

struct CommandFrame
{
    std::uint64_t number = 0;
    bool isQueued = false;
    std::optional<std::uint64_t> offset;
    std::optional<Hash> hash;
    std::string line;
};

struct ObjectFrame
{
    ObjectType type = ObjectType::string;
    std::string name;
    std::uint64_t bytes = 0;
};

struct QueryFrame
{
    std::string objectName; ///< may be empty: only the last command is asked for
};

struct WelcomeFrame
{
    std::uint16_t version = 0;
    std::string sessionId;
    std::uint32_t idleSeconds = 0;
    bool wantsLogin = false;
};

struct ResultFrame
{
    std::uint64_t number = 0;
    std::string text;
};

struct AcknowledgedFrame
{
    std::uint64_t number = 0;
};

struct ErrorFrame
{
    std::uint64_t number = 0; ///< 0: the request as a whole
    ErrorInfo error;
};

struct ProgressFrame
{
    std::uint64_t lastNumber = 0;
    std::optional<std::uint64_t> objectBytes; ///< no value: there is no such object
};

struct CompleteFrame
{
    std::uint64_t lastNumber = 0;
};

void append(std::string &out, const HelloFrame &frame);
void append(std::string &out, const SessionFrame &frame);
void append(std::string &out, const CommandFrame &frame);
void append(std::string &out, const ObjectFrame &frame);
void append(std::string &out, const QueryFrame &frame);
void append(std::string &out, const WelcomeFrame &frame);
void append(std::string &out, const ResultFrame &frame);
void append(std::string &out, const AcknowledgedFrame &frame);
void append(std::string &out, const ErrorFrame &frame);
void append(std::string &out, const ProgressFrame &frame);
void append(std::string &out, const CompleteFrame &frame);
void appendEnd(std::string &out);

/// The header of a data frame whose `bytes` (1 to 65,536) the caller writes behind it.
void appendDataHeader(std::string &out, std::size_t bytes);

/// A value as its object frame and as many data frames as it takes.
void appendValue(std::string &out, std::string_view name, const Value &value);

[[nodiscard]] std::optional<HelloFrame> decodeHello(std::string_view payload);
[[nodiscard]] std::optional<SessionFrame> decodeSession(std::string_view payload);
[[nodiscard]] std::optional<CommandFrame> decodeCommand(std::string_view payload);
[[nodiscard]] std::optional<ObjectFrame> decodeObject(std::string_view payload);
[[nodiscard]] std::optional<QueryFrame> decodeQuery(std::string_view payload);
[[nodiscard]] std::optional<WelcomeFrame> decodeWelcome(std::string_view payload);
[[nodiscard]] std::optional<ResultFrame> decodeResult(std::string_view payload);
[[nodiscard]] std::optional<AcknowledgedFrame> decodeAcknowledged(std::string_view payload);
[[nodiscard]] std::optional<ErrorFrame> decodeError(std::string_view payload);
[[nodiscard]] std::optional<ProgressFrame> decodeProgress(std::string_view payload);
[[nodiscard]] std::optional<CompleteFrame> decodeComplete(std::string_view payload);

} // namespace wire
