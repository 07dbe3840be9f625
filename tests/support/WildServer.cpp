// SPDX-License-Identifier: MIT
#include "tests/support/WildServer.h"

#include "wire/FrameReader.h"
#include "wire/fields.h"
#include "wire/frames.h"
#include "wire/limits.h"

#include <array>

namespace {

/// What a person, a terminal, a shell, a browser, a format or a parser of commands could stumble over.
constexpr std::array<std::string_view, 18> stones = {
    "",
    "0",
    "-1",
    "9223372036854775808",
    "99999999999999999999999999",
    "%s%n%n%n%d",
    "<b>bold</b><img src='file:///etc/passwd'>",
    "a| VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|FILE| NAME=|X| PERSIST=|0| FILENAME=|/etc/passwd|",
    "line\r\nSecond line\n",
    "\x1b]0;title\x07\x1b[2J",
    "file:///Applications/x.app",
    "javascript:alert(1)",
    "-option",
    "$(touch /tmp/pwned)`touch /tmp/pwned`",
    "##SERVER_FILE_SIZE",
    "\xe2\x80\xae"
    "fdp.exe",
    "STANDARD",
    "../../../etc/passwd",
};

} // namespace

std::uint64_t WildAnswers::anyNumber()
{
    constexpr std::array<std::uint64_t, 8> edges = {
        0, 1, 3, 0x7FFFFFFF, 0xFFFFFFFF, 0x7FFFFFFFFFFFFFFF, 0x8000000000000000, 0xFFFFFFFFFFFFFFFF};
    return happens(80) ? edges[number(edges.size())] : m_random();
}

std::string WildAnswers::text()
{
    if (happens(5)) {
        return std::string(number(300'000), 'x');
    }
    std::string text(stones[number(stones.size())]);
    return happens(20) ? text + std::string(stones[number(stones.size())]) : text;
}

std::string WildAnswers::value(std::string_view name)
{
    std::string frames;
    const std::size_t entries = happens(10) ? number(12'000) : number(5);
    switch (number(5)) {
    case 0:
        wire::appendValue(frames, name, text());
        break;
    case 1:
        wire::appendValue(frames, name, static_cast<std::int64_t>(anyNumber()));
        break;
    case 2:
        wire::appendValue(frames, name,
                          wire::StringList(entries, std::string(stones[number(stones.size())])));
        break;
    case 3: {
        wire::IndStringList list;
        for (std::size_t i = 0; i < entries; ++i) {
            list.push_back({text().substr(0, 64), text().substr(0, 64)});
        }
        wire::appendValue(frames, name, list);
        break;
    }
    default:
        wire::appendValue(frames, name, wire::Table{3, wire::StringList(3 * entries, text().substr(0, 64))});
    }
    return frames;
}

void WildAnswers::addObject(std::string &frames, const std::string &name)
{
    if (happens(85)) {
        frames += value(name);
    } else {
        wire::append(frames, wire::ObjectFrame{static_cast<wire::ObjectType>(number(8)), name, anyNumber()});
    }
}

void WildAnswers::addAnyFrame(std::string &frames)
{
    constexpr std::string_view types = "WRAXPZODHSCQE";
    std::string payload(number(64), '\0');
    for (char &byte : payload) {
        byte = static_cast<char>(m_random());
    }
    frames += types[number(types.size())];
    frames += std::string(3, '\0') + static_cast<char>(payload.size()) + payload;
}

void WildAnswers::answerCommand(std::string &frames, std::uint64_t commandNumber, std::string_view line)
{
    std::string problem;
    const auto command = wire::parseCommand(line, problem);
    const std::string *name = command ? command->find("NAME") : nullptr;
    if (happens(1)) {
        addAnyFrame(frames);
    }
    if (happens(2)) {
        const bool isLocal = happens(50);
        wire::append(frames,
                     wire::ErrorFrame{commandNumber,
                                      {isLocal ? "LOCAL" : text().substr(0, 64), isLocal ? "REQUEST" : "X",
                                       static_cast<std::uint32_t>(anyNumber()), text(), text()}});
        return;
    }
    wire::append(frames,
                 wire::ResultFrame{happens(1) ? anyNumber() : commandNumber, happens(30) ? text() : ""});
    if (command && command->name == "OBJECT:GET" && name != nullptr) {
        addObject(frames, happens(5) ? text().substr(0, 64) : *name);
    }
}

void WildAnswers::damage(std::string &frames)
{
    if (happens(2)) {
        frames.resize(number(frames.size() + 1));
    }
    for (int bits = happens(2) ? 3 : 0; bits > 0 && !frames.empty(); --bits) {
        char &byte = frames[number(frames.size())];
        byte = static_cast<char>(static_cast<unsigned char>(byte) ^ (1U << number(8)));
    }
}

std::string WildAnswers::to(std::string_view request)
{
    std::string frames;
    std::uint64_t last = 0;
    std::uint64_t queued = 0; // not acknowledged yet
    const auto acknowledge = [&] {
        if (queued > 0) {
            wire::append(frames, wire::AcknowledgedFrame{happens(1) ? anyNumber() : queued});
            queued = 0;
        }
    };
    wire::FrameReader reader(wire::Direction::request);
    while (!request.empty() && reader.take(request) == wire::FrameReader::Status::frame) {
        if (reader.type() == wire::FrameType::hello) {
            wire::append(frames, wire::WelcomeFrame{wire::protocolVersion, std::string(64, 'a'),
                                                    static_cast<std::uint32_t>(anyNumber()), happens(50)});
        } else if (reader.type() == wire::FrameType::command) {
            if (const auto command = wire::decodeCommand(reader.payload())) {
                last = command->number;
                if (command->isQueued && !happens(3)) {
                    queued = last;
                    continue;
                }
                acknowledge();
                answerCommand(frames, last, command->line);
            }
        } else if (reader.type() == wire::FrameType::query) {
            wire::append(frames, wire::ProgressFrame{happens(50) ? last : anyNumber(), anyNumber()});
        }
    }
    acknowledge();
    wire::append(frames, wire::CompleteFrame{happens(1) ? anyNumber() : last});
    damage(frames);
    return frames;
}
