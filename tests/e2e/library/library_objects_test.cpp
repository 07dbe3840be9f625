// SPDX-License-Identifier: MIT
#include "tests/support/HttpPeer.h"
#include "tests/support/LibraryUpload.h"
#include "tests/support/ServerProcess.h"
#include "wire/frames.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

/// Objects that go to a real server and come back.
class LibraryObjects : public testing::Test
{
protected:
    LibraryObjects() : m_request(plainConnection(m_server.plainPort()))
    {
        EXPECT_EQ(resultOf("VR_CMD=|MISC:NOP| " + m_server.login()), "");
    }

    std::string resultOf(const std::string &line)
    {
        return m_request.command(line) ? m_request.result() : "error " + m_request.error();
    }

    void run(const std::string &line)
    {
        EXPECT_TRUE(m_request.command(line)) << line << m_request.description();
    }

    void createFile(const std::string &name, const std::string &path, const std::string &more = {})
    {
        run("VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|FILE| NAME=|" + name + "| FILENAME=|" + path + "|" + more);
    }

    /// The bytes of a FILE object of the request, wherever its file stands.
    std::string bytesOf(const std::string &name)
    {
        const std::string size = resultOf("VR_CMD=|LOCAL:OBJECT:FILE_GET_SIZE| NAME=|" + name + "|");
        createFile("COPY_OF_IT", m_folder.file("copy"), " REPLACE=|YES|");
        run("VR_CMD=|LOCAL:OBJECT:COPY| NAME=|COPY_OF_IT| SNAME=|" + name + "| OFFSET=|0| NUM_BYTES=|" +
            size + "|");
        return m_folder.read("copy");
    }

    ServerProcess m_server;
    TemporaryFolder m_folder;
    LibraryRequest m_request;
};

} // namespace

TEST_F(LibraryObjects, a_file_of_any_length_is_sent_whole_and_fetched_back_into_a_new_one)
{
    for (const std::size_t bytes : {0U, 1U, 65536U, 65537U, 1'000'000U}) {
        const std::string text = incompressibleText(bytes, static_cast<std::uint32_t>(bytes + 1));
        createFile("F", m_folder.write("document", text), " REPLACE=|YES| PERSIST=|-1|");
        run("VR_CMD=|OBJECT:SEND| NAME=|F|");
        EXPECT_EQ(resultOf("VR_CMD=|OBJECT:FILE_GET_SIZE| NAME=|F|"), std::to_string(bytes));
        run("VR_CMD=|LOCAL:OBJECT:REMOVE| NAME=|F|");
        run("VR_CMD=|OBJECT:GET| NAME=|F|");
        EXPECT_TRUE(bytesOf("F") == text) << bytes;
    }
}

TEST_F(LibraryObjects, a_fetched_file_goes_to_the_place_that_its_object_already_has)
{
    createFile("F", m_folder.write("document", "sent"), " PERSIST=|-1|");
    run("VR_CMD=|OBJECT:SEND| NAME=|F|");
    m_folder.write("document", "changed since, and longer");
    run("VR_CMD=|OBJECT:GET| NAME=|F|");
    EXPECT_EQ(m_folder.read("document"), "sent");
}

TEST_F(LibraryObjects, a_file_and_a_value_take_each_others_place)
{
    createFile("X", m_folder.write("document", "bytes"));
    run("VR_CMD=|OBJECT:SEND| NAME=|X|");
    run("VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|STRING| NAME=|X| REPLACE=|YES|");
    run("VR_CMD=|OBJECT:GET| NAME=|X|");
    EXPECT_EQ(bytesOf("X"), "bytes");
    run("VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|STRING| NAME=|X| REPLACE=|YES|");
    run("VR_CMD=|LOCAL:OBJECT:STRING_SET_VALUE| NAME=|X| VALUE=|text|");
    run("VR_CMD=|OBJECT:SEND| NAME=|X|");
    createFile("X", m_folder.file("document"), " REPLACE=|YES|");
    run("VR_CMD=|OBJECT:GET| NAME=|X|");
    EXPECT_EQ(resultOf("VR_CMD=|LOCAL:OBJECT:STRING_GET_VALUE| NAME=|X|"), "text");
}

TEST_F(LibraryObjects, values_of_every_type_travel_both_ways)
{
    for (const char *type : {"STRING", "INTEGER", "STRINGLIST", "INDSTRINGLIST", "TABLE"}) {
        run("VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|" + std::string(type) + "| NAME=|V| REPLACE=|YES|");
        run("VR_CMD=|OBJECT:SEND| NAME=|V|");
        run("VR_CMD=|LOCAL:OBJECT:REMOVE| NAME=|V|");
        run("VR_CMD=|OBJECT:GET| NAME=|V|");
    }
    EXPECT_EQ(resultOf("VR_CMD=|LOCAL:OBJECT:TABLE_GET_NUM_ROWS| NAME=|V|"), "0");
    run("VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|INTEGER| NAME=|I|");
    run("VR_CMD=|LOCAL:OBJECT:INTEGER_SET_VALUE| NAME=|I| VALUE=|-12|");
    run("VR_CMD=|OBJECT:SEND| NAME=|I|");
    run("VR_CMD=|OBJECT:INTEGER_SET_VALUE| NAME=|I| VALUE=|13|");
    run("VR_CMD=|OBJECT:GET| NAME=|I|");
    EXPECT_EQ(resultOf("VR_CMD=|LOCAL:OBJECT:INTEGER_GET_VALUE| NAME=|I|"), "13");
}

TEST_F(LibraryObjects, an_object_that_the_server_does_not_have_leaves_nothing_stale)
{
    run("VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|STRING| NAME=|X|");
    EXPECT_EQ(resultOf("VR_CMD=|OBJECT:GET| NAME=|X|"), "error SYSTEM/OBJECT/101");
    EXPECT_EQ(resultOf("VR_CMD=|LOCAL:OBJECT:STRING_GET_VALUE| NAME=|X|"), "error LOCAL/REQUEST/122");
}

TEST_F(LibraryObjects, what_cannot_be_sent_is_an_error_here_and_the_session_goes_on)
{
    const std::string path = m_folder.write("document", std::string(100'000, 'x'));
    createFile("F", path);
    std::filesystem::remove(path);
    EXPECT_EQ(resultOf("VR_CMD=|OBJECT:SEND| NAME=|F|"), "error LOCAL/REQUEST/125");
    EXPECT_EQ(resultOf("VR_CMD=|OBJECT:SEND| NAME=|UNKNOWN|"), "error LOCAL/REQUEST/122");
    EXPECT_EQ(resultOf("VR_CMD=|OBJECT:SEND| NAME=||"), "error LOCAL/REQUEST/121");
    EXPECT_EQ(resultOf("VR_CMD=|OBJECT:SEND|"), "error LOCAL/REQUEST/121");
    EXPECT_EQ(resultOf("VR_CMD=|OBJECT:GET| NAME=|" + std::string(129, 'x') + "|"),
              "error LOCAL/REQUEST/121");
    EXPECT_EQ(resultOf("VR_CMD=|MISC:NOP|"), "");
}

TEST_F(LibraryObjects, a_list_that_is_too_large_is_not_even_sent)
{
    run("VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|INDSTRINGLIST| NAME=|L|");
    const std::string text(1'000'000, 'x');
    for (int i = 0; i < 17; ++i) {
        run("VR_CMD=|LOCAL:OBJECT:INDSTRINGLIST_SET_VALUE| NAME=|L| KEY=|" + std::to_string(i) + "| VALUE=|" +
            text + "|");
    }
    EXPECT_EQ(resultOf("VR_CMD=|OBJECT:SEND| NAME=|L|"), "error LOCAL/REQUEST/130");
    EXPECT_EQ(resultOf("VR_CMD=|MISC:NOP|"), "");
}

namespace {

using Frames = std::string;

template <typename... Each>
Frames frames(const Each &...each)
{
    Frames bytes;
    (wire::append(bytes, each), ...);
    return bytes;
}

const wire::WelcomeFrame welcome{1, std::string(64, 'a'), 1800, false};
const wire::ResultFrame result{1, {}};
const wire::CompleteFrame complete{1};

wire::ErrorFrame errorOf(std::uint64_t number)
{
    return {number, wire::makeError(wire::errors::cannotStore)};
}

Frames objectFrames(wire::ObjectType type, const std::string &name, const std::string &bytes)
{
    Frames all = frames(wire::ObjectFrame{type, name, bytes.size()});
    if (!bytes.empty()) {
        wire::appendDataHeader(all, bytes.size());
    }
    return all + bytes;
}

struct StrangeAnswer
{
    std::string name;
    std::string command;
    Frames answer;
    std::string error;
};

const std::string nop = "VR_CMD=|MISC:NOP|";
const std::string get = "VR_CMD=|OBJECT:GET| NAME=|X|";

std::vector<StrangeAnswer> strangeAnswers()
{
    using wire::ObjectType;
    const std::string strange = "LOCAL/REQUEST/131";
    wire::WelcomeFrame laterVersion = welcome;
    laterVersion.version = 2;
    wire::WelcomeFrame address = welcome;
    address.sessionId = "a/../b?c";
    return {
        {"without_a_result", nop, frames(welcome, complete), strange},
        {"without_a_welcome", nop, frames(result, complete), strange},
        {"with_two_welcomes", nop, frames(welcome, welcome, result, complete), strange},
        {"of_a_version_that_nobody_offered", nop, frames(laterVersion, result, complete), strange},
        {"with_a_session_that_is_a_path", nop, frames(address, result, complete), strange},
        {"with_two_results", nop, frames(welcome, result, result, complete), strange},
        {"with_the_result_of_another_command", nop, frames(welcome, wire::ResultFrame{2, {}}, complete),
         strange},
        {"with_a_result_and_an_error", nop, frames(welcome, result, errorOf(1), complete), strange},
        {"with_an_error_and_a_result", nop, frames(welcome, errorOf(1), result, complete), strange},
        {"with_an_error_of_what_was_not_sent", nop, frames(welcome, errorOf(7), complete), strange},
        {"with_two_errors", nop, frames(welcome, errorOf(1), errorOf(1), complete), strange},
        {"with_an_acknowledgement_of_what_was_not_sent", nop,
         frames(welcome, wire::AcknowledgedFrame{3}, result, complete), strange},
        {"with_a_progress_that_nobody_asked_for", nop,
         frames(welcome, wire::ProgressFrame{1, 1}, result, complete), strange},
        {"that_goes_on_after_its_end", nop, frames(welcome, result, complete, complete), strange},
        {"with_frames_of_a_request", nop, frames(welcome, wire::QueryFrame{"X"}, complete), strange},
        {"with_an_object_that_nobody_asked_for", nop,
         frames(welcome, result) + objectFrames(ObjectType::string, "X", "x") + frames(complete), strange},
        {"with_an_object_before_the_result", get,
         frames(welcome) + objectFrames(ObjectType::string, "X", "x") + frames(result, complete), strange},
        {"with_an_object_that_is_cut_off", get,
         frames(welcome, result, wire::ObjectFrame{ObjectType::string, "X", 5}, complete), strange},
        {"with_another_object_than_asked_for", get,
         frames(welcome, result) + objectFrames(ObjectType::string, "Y", "y") + frames(complete), strange},
        {"without_the_object_that_was_asked_for", get, frames(welcome, result, complete), strange},
        {"without_an_object_that_may_be_missing", get + " VR_NO_ERROR=|YES|",
         frames(welcome, result, complete), ""},
        {"with_a_number_that_is_none", get,
         frames(welcome, result) + objectFrames(ObjectType::integer, "X", "twelve") + frames(complete),
         strange},
        {"with_an_error_of_the_whole_request", nop, frames(welcome, errorOf(0), complete),
         "SYSTEM/STORAGE/101"},
        {"with_an_error_of_the_command", nop, frames(welcome, errorOf(1), complete), "SYSTEM/STORAGE/101"},
        {"with_too_many_objects", "VR_PROC=|P|",
         [] {
             Frames many = frames(welcome, result);
             for (int i = 0; i < 65; ++i) {
                 many += objectFrames(ObjectType::string, "O" + std::to_string(i), "");
             }
             return many + frames(complete);
         }(),
         strange},
        {"with_objects_that_are_too_large", "VR_PROC=|P|",
         frames(welcome, result, wire::ObjectFrame{ObjectType::string, "X", 65537}, complete), strange},
    };
}

class AnswerOfAServer : public testing::TestWithParam<StrangeAnswer>
{};

/// A server that gives every request the same answer, however long that is.
HttpPeer::Handler always(const Frames &answer)
{
    return [answer](PeerRequest &request, LoopbackSocket &socket) {
        request.readAll();
        return socket.send(HttpPeer::answer(answer));
    };
}

} // namespace

TEST_P(AnswerOfAServer, has_its_documented_error)
{
    const HttpPeer peer(always(GetParam().answer));
    LibraryRequest request(plainConnection(peer.port()));
    const bool isDone = request.command(GetParam().command);
    EXPECT_EQ(isDone ? "" : request.error(), GetParam().error) << request.description();
}

INSTANTIATE_TEST_SUITE_P(Table, AnswerOfAServer, testing::ValuesIn(strangeAnswers()),
                         [](const auto &answer) { return answer.param.name; });

TEST(TravellingObjects, of_a_procedure_are_there_without_asking_again)
{
    const HttpPeer peer(always(frames(welcome, result) + objectFrames(wire::ObjectType::string, "S", "text") +
                               objectFrames(wire::ObjectType::file, "F", "bytes") + frames(complete)));
    LibraryRequest request(plainConnection(peer.port()));
    ASSERT_TRUE(request.command("VR_PROC=|P|")) << request.description();
    EXPECT_TRUE(request.command("VR_CMD=|OBJECT:GET| NAME=|S|")) << request.description();
    EXPECT_TRUE(request.command("VR_CMD=|LOCAL:OBJECT:STRING_GET_VALUE| NAME=|S|"));
    EXPECT_EQ(request.result(), "text");
    EXPECT_TRUE(request.command("VR_CMD=|OBJECT:GET| NAME=|F|")) << request.description();
    EXPECT_TRUE(request.command("VR_CMD=|LOCAL:OBJECT:FILE_GET_SIZE| NAME=|F|"));
    EXPECT_EQ(request.result(), "5");
    EXPECT_EQ(peer.connections(), 1);
}

TEST(TravellingObjects, that_make_no_sense_are_an_error_when_they_are_asked_for)
{
    const HttpPeer peer(always(frames(welcome, result) + objectFrames(wire::ObjectType::integer, "I", "x") +
                               frames(complete)));
    LibraryRequest request(plainConnection(peer.port()));
    ASSERT_TRUE(request.command("VR_PROC=|P|")) << request.description();
    EXPECT_FALSE(request.command("VR_CMD=|OBJECT:GET| NAME=|I|"));
    EXPECT_EQ(request.error(), "LOCAL/REQUEST/131") << request.description();
}
