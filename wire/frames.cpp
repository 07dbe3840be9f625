// SPDX-License-Identifier: MIT
#include "wire/frames.h"

#include "wire/limits.h"

namespace wire {
namespace {

constexpr std::string_view requestLetters = "HSCODQE";
constexpr std::string_view answerLetters = "WRODAXPZ";

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

} // namespace wire
