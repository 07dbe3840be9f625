// SPDX-License-Identifier: MIT
#include "wire/FrameReader.h"
#include "wire/limits.h"

#include <gtest/gtest.h>

using namespace std::string_literals;
using namespace std::string_view_literals;
using wire::Direction;
using wire::FrameReader;

namespace {

template <class Frame>
std::string encoded(const Frame &frame)
{
    std::string out;
    wire::append(out, frame);
    return out;
}

std::string_view payloadOf(std::string_view frame)
{
    return frame.substr(wire::frameHeaderBytes);
}

} // namespace

TEST(Frames, a_hello_has_the_documented_bytes)
{
    wire::HelloFrame hello;
    hello.lowestVersion = 1;
    hello.highestVersion = 1;
    hello.nonce.fill(0xaa);
    hello.application = "app";
    hello.user = "u";
    hello.password = "p";
    hello.closeProcedure = "Bye";
    hello.singleSignOn = true;
    const std::string bytes = encoded(hello);
    EXPECT_EQ(bytes, "H\0\0\0\x31\0\1\0\1"s + std::string(16, '\xaa') +
                         "\0\0\0\3app\0\0\0\1u\0\0\0\1p\0\0\0\0\0\0\0\3Bye\1"s);
    const auto back = wire::decodeHello(payloadOf(bytes));
    ASSERT_TRUE(back);
    EXPECT_EQ(back->application, "app");
    EXPECT_EQ(back->closeProcedure, "Bye");
    EXPECT_TRUE(back->singleSignOn);
}

TEST(Frames, a_command_has_the_documented_bytes)
{
    wire::CommandFrame command;
    command.number = 7;
    command.isQueued = true;
    command.offset = 65536;
    command.line = "VR_CMD=|X|";
    const std::string bytes = encoded(command);
    EXPECT_EQ(bytes, "C\0\0\0\x2b\0\0\0\0\0\0\0\7\3\0\0\0\0\0\1\0\0"s + std::string(16, '\0') + "VR_CMD=|X|");
    const auto back = wire::decodeCommand(payloadOf(bytes));
    ASSERT_TRUE(back);
    EXPECT_EQ(back->number, 7U);
    EXPECT_TRUE(back->isQueued);
    EXPECT_EQ(back->offset, 65536U);
    EXPECT_FALSE(back->hash);
    EXPECT_EQ(back->line, "VR_CMD=|X|");
}

TEST(Frames, a_command_carries_a_hash)
{
    wire::CommandFrame command;
    command.number = 1;
    command.hash.emplace().fill(0x5a);
    const auto back = wire::decodeCommand(payloadOf(encoded(command)));
    ASSERT_TRUE(back);
    EXPECT_EQ(back->hash, command.hash);
    EXPECT_FALSE(back->offset);
}

TEST(Frames, the_others_come_back_as_they_went)
{
    const auto session = wire::decodeSession(payloadOf(encoded(wire::SessionFrame{1, "id", 9})));
    ASSERT_TRUE(session);
    EXPECT_EQ(session->id, "id");
    EXPECT_EQ(session->acknowledged, 9U);
    const auto object =
        wire::decodeObject(payloadOf(encoded(wire::ObjectFrame{wire::ObjectType::file, "F", 70000})));
    ASSERT_TRUE(object);
    EXPECT_EQ(object->bytes, 70000U);
    EXPECT_EQ(wire::decodeQuery(payloadOf(encoded(wire::QueryFrame{"F"})))->objectName, "F");
    const auto welcome = wire::decodeWelcome(payloadOf(encoded(wire::WelcomeFrame{1, "id", 1800, true})));
    ASSERT_TRUE(welcome);
    EXPECT_EQ(welcome->idleSeconds, 1800U);
    EXPECT_TRUE(welcome->wantsLogin);
    EXPECT_EQ(wire::decodeResult(payloadOf(encoded(wire::ResultFrame{3, "42"})))->text, "42");
    EXPECT_EQ(wire::decodeAcknowledged(payloadOf(encoded(wire::AcknowledgedFrame{5})))->number, 5U);
    EXPECT_EQ(wire::decodeComplete(payloadOf(encoded(wire::CompleteFrame{5})))->lastNumber, 5U);
    const wire::ErrorInfo error = wire::makeError(wire::errors::unknownUser, "nobody", "info");
    EXPECT_EQ(wire::decodeError(payloadOf(encoded(wire::ErrorFrame{0, error})))->error, error);
    EXPECT_EQ(wire::decodeProgress(payloadOf(encoded(wire::ProgressFrame{5, 0})))->objectBytes, 0U);
    EXPECT_FALSE(wire::decodeProgress(payloadOf(encoded(wire::ProgressFrame{5, std::nullopt})))->objectBytes);
}

TEST(Frames, long_error_texts_are_cut_between_characters)
{
    wire::ErrorFrame frame;
    frame.error.description = std::string(4095, 'x') + "\xe2\x82\xac";
    const auto back = wire::decodeError(payloadOf(encoded(frame)));
    ASSERT_TRUE(back);
    EXPECT_EQ(back->error.description, std::string(4095, 'x'));
}

TEST(Frames, a_value_is_cut_into_data_frames)
{
    std::string out;
    wire::appendValue(out, "S", std::string(65537, 's'));
    EXPECT_EQ(out.substr(0, 19), "O\0\0\0\x0e\1\0\0\0\1S\0\0\0\0\0\1\0\1"s);
    EXPECT_EQ(out.substr(19, 5), "D\0\1\0\0"s);
    EXPECT_EQ(out.substr(19 + 5 + 65536), "D\0\0\0\1s"s);
}

TEST(Frames, every_decoder_refuses_missing_and_left_over_bytes)
{
    const auto refusesCuts = [](const std::string &frame, auto decode, bool hasRest) {
        const std::string_view payload = payloadOf(frame);
        const std::size_t firstWhole = hasRest ? payload.size() - 1 : payload.size();
        for (std::size_t size = 0; size < firstWhole; ++size) {
            EXPECT_FALSE(decode(payload.substr(0, size))) << frame.front() << size;
        }
        EXPECT_TRUE(decode(payload)) << frame.front();
        EXPECT_EQ(decode(std::string(payload) + "x").has_value(), hasRest) << frame.front();
    };
    refusesCuts(encoded(wire::HelloFrame{1, 1, {}, "a", "b", "c", "d", "e", false}), wire::decodeHello,
                false);
    refusesCuts(encoded(wire::SessionFrame{1, "id", 9}), wire::decodeSession, false);
    refusesCuts(encoded(wire::CommandFrame{1, false, {}, {}, "x"}), wire::decodeCommand, true);
    refusesCuts(encoded(wire::ObjectFrame{wire::ObjectType::string, "F", 1}), wire::decodeObject, false);
    refusesCuts(encoded(wire::QueryFrame{"F"}), wire::decodeQuery, false);
    refusesCuts(encoded(wire::WelcomeFrame{1, "id", 1, false}), wire::decodeWelcome, false);
    refusesCuts(encoded(wire::ResultFrame{1, "x"}), wire::decodeResult, true);
    refusesCuts(encoded(wire::AcknowledgedFrame{1}), wire::decodeAcknowledged, false);
    refusesCuts(encoded(wire::ErrorFrame{1, {"a", "b", 1, "c", "d"}}), wire::decodeError, false);
    refusesCuts(encoded(wire::ProgressFrame{1, 1}), wire::decodeProgress, false);
    refusesCuts(encoded(wire::CompleteFrame{1}), wire::decodeComplete, false);
}

TEST(Frames, contradictions_within_a_frame_are_refused)
{
    const auto changed = [](std::string bytes, std::size_t at, char value) {
        bytes.at(wire::frameHeaderBytes + at) = value;
        return bytes;
    };
    const std::string hello = encoded(wire::HelloFrame{1, 2, {}, "a", "", "", "", "", true});
    EXPECT_TRUE(wire::decodeHello(payloadOf(hello)));
    EXPECT_FALSE(wire::decodeHello(payloadOf(changed(hello, 1, 3))))
        << "the lowest version is above the highest";
    EXPECT_FALSE(wire::decodeHello(payloadOf(changed(hello, hello.size() - wire::frameHeaderBytes - 1, 2))))
        << "a flag that nobody knows";

    const std::string command = encoded(wire::CommandFrame{1, true, {}, {}, "x"});
    constexpr std::size_t flags = 8;
    EXPECT_TRUE(wire::decodeCommand(payloadOf(command)));
    EXPECT_FALSE(wire::decodeCommand(payloadOf(changed(command, 7, 0)))) << "commands count from 1";
    EXPECT_FALSE(wire::decodeCommand(payloadOf(changed(command, flags, 8)))) << "a flag that nobody knows";
    EXPECT_FALSE(wire::decodeCommand(payloadOf(changed(command, flags + 8, 1))))
        << "an offset without its flag";
    EXPECT_FALSE(wire::decodeCommand(payloadOf(changed(command, flags + 9, 1)))) << "a hash without its flag";
    EXPECT_TRUE(wire::decodeCommand(
        payloadOf(encoded(wire::CommandFrame{1, false, {}, {}, std::string(wire::maxCommandBytes, 'x')}))));
    EXPECT_FALSE(wire::decodeCommand(payloadOf(
        encoded(wire::CommandFrame{1, false, {}, {}, std::string(wire::maxCommandBytes + 1, 'x')}))));

    const std::string welcome = encoded(wire::WelcomeFrame{1, "id", 1800, false});
    EXPECT_FALSE(
        wire::decodeWelcome(payloadOf(changed(welcome, welcome.size() - wire::frameHeaderBytes - 1, 2))));
    EXPECT_FALSE(wire::decodeWelcome(payloadOf(encoded(wire::WelcomeFrame{1, "", 1800, false}))));
    EXPECT_FALSE(wire::decodeResult(payloadOf(encoded(wire::ResultFrame{0, "x"}))));
    EXPECT_FALSE(wire::decodeResult(payloadOf(encoded(wire::ResultFrame{1, "\xff"}))));
    EXPECT_FALSE(wire::decodeError(payloadOf(encoded(wire::ErrorFrame{1, {"\xff", "b", 1, "c", "d"}}))));
}

TEST(Frames, objects_beyond_the_limits_are_refused)
{
    EXPECT_TRUE(
        wire::decodeObject(payloadOf(encoded(wire::ObjectFrame{wire::ObjectType::file, "F", 0x7fffffff}))));
    EXPECT_FALSE(
        wire::decodeObject(payloadOf(encoded(wire::ObjectFrame{wire::ObjectType::file, "F", 0x80000000}))));
    EXPECT_FALSE(wire::decodeObject(
        payloadOf(encoded(wire::ObjectFrame{wire::ObjectType::string, "F", wire::maxValueBytes + 1}))));
    EXPECT_FALSE(wire::decodeObject(payloadOf(encoded(wire::ObjectFrame{wire::ObjectType::string, "", 1}))));
}

TEST(FrameReader, takes_frames_from_pieces_of_any_size)
{
    std::string body =
        encoded(wire::SessionFrame{1, "id", 0}) + encoded(wire::CommandFrame{1, false, {}, {}, "x"});
    wire::appendEnd(body);
    for (std::size_t pieceBytes = 1; pieceBytes <= body.size(); ++pieceBytes) {
        FrameReader reader(Direction::request);
        std::string letters;
        std::size_t payloadBytes = 0;
        for (std::size_t at = 0; at < body.size(); at += pieceBytes) {
            std::string_view piece = std::string_view(body).substr(at, pieceBytes);
            while (!piece.empty() && reader.take(piece) == FrameReader::Status::frame) {
                letters.push_back(static_cast<char>(reader.type()));
                payloadBytes += reader.payload().size();
            }
        }
        EXPECT_EQ(letters, "SCE");
        EXPECT_EQ(payloadBytes + 3 * wire::frameHeaderBytes, body.size());
        EXPECT_TRUE(reader.isBetweenFrames());
    }
}

TEST(FrameReader, knows_that_a_body_ends_inside_a_frame)
{
    const std::string body = encoded(wire::CompleteFrame{1});
    for (std::size_t bytes = 1; bytes < body.size(); ++bytes) {
        FrameReader reader(Direction::answer);
        std::string_view piece = std::string_view(body).substr(0, bytes);
        EXPECT_EQ(reader.take(piece), FrameReader::Status::needsMore);
        EXPECT_FALSE(reader.isBetweenFrames()) << bytes;
    }
}

TEST(FrameReader, refuses_what_does_not_belong)
{
    for (const std::string_view body :
         {"<html>"sv, "R\0\0\0\1x"sv, "D\0\1\0\1"sv, "D\0\0\0\0"sv, "E\0\0\0\1x"sv, "C\xff\xff\xff\xff"sv}) {
        FrameReader reader(Direction::request);
        std::string_view piece = body;
        EXPECT_EQ(reader.take(piece), FrameReader::Status::malformed) << body;
        EXPECT_EQ(reader.take(piece), FrameReader::Status::malformed) << "and stays so";
        EXPECT_FALSE(reader.isBetweenFrames());
    }
    FrameReader answers(Direction::answer);
    std::string_view piece = "R\0\x20\0\1"sv;
    EXPECT_EQ(answers.take(piece), FrameReader::Status::malformed) << "a payload of more than 2 MiB";
}
