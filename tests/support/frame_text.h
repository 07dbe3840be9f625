// SPDX-License-Identifier: MIT
#pragma once

#include "wire/FrameReader.h"
#include "wire/frames.h"
#include "wire/limits.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Requests and answers of the protocol as tests write and read them.

/// A request's body, frame by frame.
class RequestText
{
public:
    RequestText &hello(const std::string &application, std::uint8_t nonce = 1, const std::string &user = {},
                       const std::string &password = {})
    {
        wire::HelloFrame frame;
        frame.lowestVersion = frame.highestVersion = wire::protocolVersion;
        frame.nonce.fill(nonce);
        frame.application = application;
        frame.user = user;
        frame.password = password;
        return add(frame);
    }

    RequestText &session(const std::string &id, std::uint64_t acknowledged = 0)
    {
        return add(wire::SessionFrame{wire::protocolVersion, id, acknowledged});
    }

    RequestText &command(std::uint64_t number, const std::string &line)
    {
        return add(wire::CommandFrame{number, false, {}, {}, line});
    }

    RequestText &queued(std::uint64_t number, const std::string &line,
                        std::optional<std::uint64_t> offset = {})
    {
        return add(wire::CommandFrame{number, true, offset, {}, line});
    }

    RequestText &file(const std::string &name, const std::string &bytes)
    {
        add(wire::ObjectFrame{wire::ObjectType::file, name, bytes.size()});
        for (std::size_t at = 0; at < bytes.size(); at += wire::maxDataBytes) {
            const std::string piece = bytes.substr(at, wire::maxDataBytes);
            wire::appendDataHeader(text, piece.size());
            text += piece;
        }
        return *this;
    }

    RequestText &value(const std::string &name, const wire::Value &value)
    {
        wire::appendValue(text, name, value);
        return *this;
    }

    RequestText &query(const std::string &name) { return add(wire::QueryFrame{name}); }

    RequestText &end()
    {
        wire::appendEnd(text);
        return *this;
    }

    template <typename Frame>
    RequestText &add(const Frame &frame)
    {
        wire::append(text, frame);
        return *this;
    }

    std::string text;
};

/// An answer in words, one a frame: "W", "R 3 result", "A 2", "X 4 SYSTEM/OBJECT/101", "P 7 65536", "Z 7",
/// "O FILE_ID 32".
struct AnswerText
{
    std::vector<std::string> lines;
    std::string session;             ///< of the welcome frame
    std::vector<std::string> errors; ///< their descriptions
    std::string data;                ///< of all objects, joined
};

inline std::string errorName(const wire::ErrorInfo &error)
{
    return error.service + '/' + error.errorClass + '/' + std::to_string(error.code);
}

inline void describeFrame(wire::FrameType type, std::string_view payload, AnswerText &answer)
{
    using wire::FrameType;
    const auto number = [](std::uint64_t value) { return std::to_string(value); };
    if (type == FrameType::welcome) {
        answer.session = wire::decodeWelcome(payload).value().sessionId;
        answer.lines.emplace_back("W");
    } else if (type == FrameType::result) {
        const auto frame = wire::decodeResult(payload).value();
        answer.lines.push_back("R " + number(frame.number) + (frame.text.empty() ? "" : " ") + frame.text);
    } else if (type == FrameType::acknowledged) {
        answer.lines.push_back("A " + number(wire::decodeAcknowledged(payload).value().number));
    } else if (type == FrameType::error) {
        const auto frame = wire::decodeError(payload).value();
        answer.lines.push_back("X " + number(frame.number) + ' ' + errorName(frame.error));
        answer.errors.push_back(frame.error.description);
    } else if (type == FrameType::progress) {
        const auto frame = wire::decodeProgress(payload).value();
        answer.lines.push_back("P " + number(frame.lastNumber) + ' ' +
                               (frame.objectBytes ? number(*frame.objectBytes) : "none"));
    } else if (type == FrameType::complete) {
        answer.lines.push_back("Z " + number(wire::decodeComplete(payload).value().lastNumber));
    } else if (type == FrameType::object) {
        const auto frame = wire::decodeObject(payload).value();
        answer.lines.push_back("O " + frame.name + ' ' + number(frame.bytes));
    } else if (type == FrameType::data) {
        answer.data += payload;
    }
}

inline AnswerText decodeAnswer(std::string_view bytes)
{
    AnswerText answer;
    wire::FrameReader reader(wire::Direction::answer);
    while (!bytes.empty()) {
        if (reader.take(bytes) != wire::FrameReader::Status::frame) {
            ADD_FAILURE() << "the answer is no sequence of frames";
            break;
        }
        describeFrame(reader.type(), reader.payload(), answer);
    }
    return answer;
}
