// SPDX-License-Identifier: MIT
#include "tests/e2e/send/windows/HostileServerProgram.h"
#include "tests/support/HttpPeer.h"
#include "tests/support/TlsTerminator.h"
#include "tests/support/WildServer.h"
#include "tests/support/file_bytes.h"
#include "wire/FrameReader.h"
#include "wire/frames.h"
#include "wire/limits.h"

#include <gmock/gmock.h>

#include <csignal>
#include <functional>
#include <optional>
#include <random>

namespace {

using testing::HasSubstr;

/// What a directory says that keeps to the protocol.
struct Sayings
{
    wire::IndStringList parameters;
    wire::StringList directories;
    wire::StringList topics;
    std::string result;                      ///< of every command
    std::optional<wire::ErrorInfo> getError; ///< instead of the parameters
};

void answerCommand(std::string &frames, const wire::CommandFrame &command, const Sayings &sayings)
{
    const bool isGet = command.line.find("|OBJECT:GET|") != std::string::npos;
    if (isGet && sayings.getError) {
        wire::append(frames, wire::ErrorFrame{command.number, *sayings.getError});
        return;
    }
    wire::append(frames, wire::ResultFrame{command.number, sayings.result});
    if (isGet && command.line.find("NAME=|parameters|") != std::string::npos) {
        wire::appendValue(frames, "parameters", sayings.parameters);
    } else if (isGet && command.line.find("NAME=|directories|") != std::string::npos) {
        wire::appendValue(frames, "directories", sayings.directories);
    } else if (isGet) {
        wire::appendValue(frames, "Topics", sayings.topics);
    }
}

/// The frames that answer a request, but for the last one, which says that the answer is complete.
std::string answerTo(std::string_view request, const Sayings &sayings, std::uint64_t &last)
{
    std::string frames;
    wire::FrameReader reader(wire::Direction::request);
    while (!request.empty() && reader.take(request) == wire::FrameReader::Status::frame) {
        if (reader.type() == wire::FrameType::hello) {
            wire::append(frames,
                         wire::WelcomeFrame{wire::protocolVersion, std::string(64, 'a'), 1800, false});
        } else if (reader.type() == wire::FrameType::command) {
            const auto command = wire::decodeCommand(reader.payload());
            last = command->number;
            answerCommand(frames, *command, sayings);
        }
    }
    return frames;
}

constexpr std::string_view endlessHeader =
    "HTTP/1.1 200 OK\r\nContent-Type: application/vnd.varek.frames\r\nTransfer-Encoding: chunked\r\n\r\n";

std::string chunk(const std::string &bytes)
{
    std::array<char, 16> size{};
    std::snprintf(size.data(), size.size(), "%zx\r\n", bytes.size());
    return size.data() + bytes + "\r\n";
}

/// Says a beginning and then the same bytes until nobody listens any more.
void sayForEver(const LoopbackSocket &socket, const std::string &beginning, const std::string &repeated)
{
    bool isHeard = socket.send(endlessHeader) && (beginning.empty() || socket.send(chunk(beginning)));
    const std::string piece = chunk(repeated);
    while (isHeard) {
        isHeard = socket.send(piece);
    }
}

std::string dataFrame()
{
    std::string frame;
    wire::appendDataHeader(frame, wire::maxDataBytes);
    return frame + std::string(wire::maxDataBytes, 'x');
}

/// The directory of a printer, over TLS and with a certificate that is trusted, and the real program.
class HostileDirectory : public HostileServerProgram
{
protected:
    using Answer = std::function<void(const std::string &request, const LoopbackSocket &socket)>;

    HostileDirectory() { std::signal(SIGPIPE, SIG_IGN); }

    /// Has the program send a document; the program ends in time and memory, and nothing was harmed.
    void sendTo(const Answer &answer, const std::function<void(RunningProgram &)> &attend = {})
    {
        HttpPeer peer([&](PeerRequest &request, LoopbackSocket &socket) {
            answer(request.readAll(), socket);
            return false;
        });
        const TlsTerminator tls({server.data() / "server.pem", server.data() / "server-key.pem"},
                                peer.port());
        setDirectories({"127.0.0.1:" + std::to_string(tls.port()) + ";directory:other"});
        storeCredentials();
        const std::string document = makeDocument("text\n");
        RunningProgram program = startSend(document, !attend);
        if (attend) {
            attend(program);
        }
        EXPECT_EQ(program.exitStatus(), 0) << program.output() << log();
        EXPECT_GE(peer.connections(), 1);
        EXPECT_LT(program.peakKiB(), mostKiB);
        EXPECT_EQ(fileBytes(document), "text\n");
        EXPECT_FALSE(std::filesystem::exists(path("planted")));
        expectWholeLog();
    }

    void sendToDirectoryThatSays(const Sayings &sayings,
                                 const std::function<void(RunningProgram &)> &attend = {})
    {
        sendTo(
            [&](const std::string &request, const LoopbackSocket &socket) {
                std::uint64_t last = 0;
                std::string frames = answerTo(request, sayings, last);
                wire::append(frames, wire::CompleteFrame{last});
                socket.send(HttpPeer::answer(frames));
            },
            attend);
    }

    /// Everything that a send to the good server needs, and these.
    [[nodiscard]] wire::IndStringList parametersWith(const wire::IndStringList &others) const
    {
        const std::string port = std::to_string(server.port());
        wire::IndStringList all = {
            {"SERVER_UPLOAD_ADDRESS", "127.0.0.1"},     {"SERVER_UPLOAD_PORT", port},
            {"SERVER_UPLOAD_APPLICATION", "upload"},    {"SERVER_UPLOAD_PROFILE_CONTAINER", "demo"},
            {"SERVER_UPLOAD_PROCEDURE", "ProcessFile"}, {"SERVER_UPLOAD_PARAM", "QUEUE=|demo|"},
            {"SERVER_PORTAL_ADDRESS", "127.0.0.1"},     {"SERVER_PORTAL_PORT", port},
            {"SERVER_PORTAL_APPLICATION", "portal"}};
        all.insert(all.end(), others.begin(), others.end());
        return all;
    }
};

TEST_F(HostileDirectory, random_bytes_and_random_frames_end_the_send)
{
    std::mt19937_64 random(20261122);
    for (int run = 0; run < 4; ++run) {
        sendTo([&](const std::string &, const LoopbackSocket &socket) {
            std::string bytes(20'000, '\0');
            std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(random()); });
            socket.send(HttpPeer::answer(bytes));
        });
    }
    for (std::uint64_t seed = 1; seed <= 6; ++seed) {
        WildAnswers answers(seed);
        sendTo([&](const std::string &request, const LoopbackSocket &socket) {
            socket.send(HttpPeer::answer(answers.to(request)));
        });
    }
}

TEST_F(HostileDirectory, a_list_without_end_ends_the_send)
{
    for (const std::uint64_t bytes : {std::uint64_t{1} << 63U, ~std::uint64_t{0}, std::uint64_t{1} << 40U}) {
        sendTo([&](const std::string &request, const LoopbackSocket &socket) {
            std::uint64_t last = 0;
            std::string frames = answerTo(request, {}, last);
            wire::append(frames, wire::ObjectFrame{wire::ObjectType::indStringList, "parameters", bytes});
            sayForEver(socket, frames, dataFrame());
        });
    }
}

TEST_F(HostileDirectory, objects_and_results_without_end_end_the_send)
{
    std::string object;
    wire::appendValue(object, "parameters", wire::IndStringList{{"KEY", "value"}});
    std::string result;
    wire::append(result, wire::ResultFrame{1, std::string(100'000, 'r')});
    std::string file;
    wire::append(file, wire::ObjectFrame{wire::ObjectType::file, "parameters", 0});
    for (const std::string &repeated : {object, result, file}) {
        sendTo([&](const std::string &request, const LoopbackSocket &socket) {
            std::uint64_t last = 0;
            sayForEver(socket, answerTo(request, {}, last), repeated);
        });
    }
}

TEST_F(HostileDirectory, a_header_without_end_ends_the_send)
{
    sendTo([](const std::string &, const LoopbackSocket &socket) {
        const std::string lines = "X-Header: " + std::string(60'000, 'h') + "\r\n";
        for (bool isHeard = socket.send("HTTP/1.1 200 OK\r\n"); isHeard;) {
            isHeard = socket.send(lines);
        }
    });
}

TEST_F(HostileDirectory, counts_of_any_size_end_the_send)
{
    const auto number = [](std::uint32_t value) {
        std::string bytes;
        for (const unsigned shift : {24U, 16U, 8U, 0U}) {
            bytes += static_cast<char>(value >> shift & 0xFFU);
        }
        return bytes;
    };
    using wire::ObjectType;
    const std::pair<ObjectType, std::string> objects[] = {
        {ObjectType::indStringList, number(0xFFFFFFFF) + "KEY"},
        {ObjectType::table, number(0xFFFFFFFF) + number(1) + "c"},
        {ObjectType::table, number(0) + number(1) + "c"},
        {ObjectType::integer, "9223372036854775808"},
        {ObjectType::stringList, number(0x7FFFFFFF)},
    };
    for (const auto &[type, bytes] : objects) {
        sendTo([&, type = type, &content = bytes](const std::string &request, const LoopbackSocket &socket) {
            std::uint64_t last = 0;
            std::string frames = answerTo(request, {}, last);
            wire::append(frames, wire::ObjectFrame{type, "parameters", content.size()});
            wire::appendDataHeader(frames, content.size());
            frames += content;
            wire::append(frames, wire::CompleteFrame{last});
            socket.send(HttpPeer::answer(frames));
        });
    }
}

TEST_F(HostileDirectory, texts_of_a_hundred_megabytes_end_the_send)
{
    constexpr std::uint64_t bytes = 100'000'000;
    for (const auto type : {wire::ObjectType::string, wire::ObjectType::indStringList}) {
        sendTo([&](const std::string &request, const LoopbackSocket &socket) {
            std::uint64_t last = 0;
            std::string frames = answerTo(request, {}, last);
            wire::append(frames, wire::ObjectFrame{type, "parameters", bytes});
            socket.send(endlessHeader);
            socket.send(chunk(frames));
            const std::string piece = chunk(dataFrame());
            for (std::uint64_t sent = 0; sent < bytes && socket.send(piece); sent += wire::maxDataBytes) {
            }
        });
    }
}

TEST_F(HostileDirectory, the_longest_texts_that_are_allowed_are_taken)
{
    const std::string longest(wire::maxTextBytes, 'l');
    Sayings sayings;
    for (int i = 0; i < 14; ++i) {
        sayings.parameters.push_back({"KEY_" + std::to_string(i), longest});
    }
    sayings.topics = wire::StringList(14, "Main=" + longest.substr(5));
    sendToDirectoryThatSays(sayings);
}

TEST_F(HostileDirectory, keys_with_line_ends_and_escapes_stay_one_entry_of_the_log)
{
    Sayings sayings;
    sayings.parameters = {{"KEY\r\nforged entry", "value\nforged too"},
                          {"\x1b]0;title\x07\x1b[2J", "\x1b[31m\x08\x7f"},
                          {"X_PASSWORD\r\n", "seen by nobody"},
                          {"\xc2\x85\xe2\x80\xa8", "\xe2\x80\xaegpj.exe"}};
    sayings.result = "result\r\nforged entry\x1b[2J";
    sendToDirectoryThatSays(sayings);
    EXPECT_EQ(log().find("\nforged"), std::string::npos);
    EXPECT_THAT(log(), HasSubstr("KEY\\r\\nforged entry"));
}

TEST_F(HostileDirectory, values_that_end_a_value_begin_no_command)
{
    const std::string planted = path("planted");
    const std::string command =
        "x| VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|FILE| NAME=|F| PERSIST=|0| FILENAME=|" + planted + "|";
    Sayings sayings;
    sayings.result = command;
    sayings.parameters = parametersWith({{"SERVER_UPLOAD_OPEN_SESSION_PROC", "x\" SocketLog=\"" + planted},
                                         {"SERVER_UPLOAD_PROFILE_CONTAINER", command},
                                         {"SERVER_UPLOAD_PARAM", command},
                                         {"X| VR_VAR=|V", command}});
    sayings.directories = {command, "host\";SocketLog=\"" + planted + ":directory"};
    sayings.topics = {"Main| X=" + command};
    sendToDirectoryThatSays(sayings);
    EXPECT_EQ(storedCount(), 0U);
}

TEST_F(HostileDirectory, markup_and_formats_in_an_error_are_shown_as_they_are)
{
    Sayings sayings;
    sayings.getError =
        wire::ErrorInfo{"%s%n", "<b>", 4294967295U, "%n%n%s <h1>big</h1><img src='file:///etc/passwd'>",
                        "%d|\r\n\x1b[2J" + std::string(100'000, 'i')};
    sendToDirectoryThatSays(
        sayings, [](RunningProgram &program) { program.press(program.window("Varek Printer"), "Return"); });
    EXPECT_THAT(log(), HasSubstr("%n%n%s <h1>big</h1>"));
}

TEST_F(HostileDirectory, no_address_of_a_directory_starts_anything)
{
    for (const std::string address :
         {"file:///Applications/x.app", "javascript:alert(1)", "-option", "$(touch planted)"}) {
        Sayings sayings;
        sayings.parameters = parametersWith({{"PORTAL_URL", address}});
        sayings.directories = {address, ";" + address};
        sayings.topics = {"Main=" + address, address};
        sendToDirectoryThatSays(sayings);
        RunningProgram help = start({"-m", "help", "-p", "Queue"});
        EXPECT_EQ(help.exitStatus(), 0) << help.output();
    }
    EXPECT_EQ(storedCount(), 4U);
    EXPECT_THAT(opened(), testing::ElementsAre("xdg-open http://localhost/last"));
}

TEST_F(HostileDirectory, no_update_address_of_a_directory_starts_anything)
{
    for (const std::string address : {"file:///Applications/x.app", "javascript:alert(1)", "-option"}) {
        Sayings sayings;
        sayings.parameters = parametersWith({{"LAST_VERSION_CHECK", "YES"},
                                             {"LAST_VERSION", "99.99.999"},
                                             {"LAST_VERSION_DOWNLOAD", address}});
        sendToDirectoryThatSays(sayings, [](RunningProgram &program) {
            program.press(program.window("Varek print - update"), "Return");
        });
    }
    EXPECT_THAT(opened(), testing::ElementsAre("xdg-open http://localhost/last"));
}

} // namespace
