// SPDX-License-Identifier: MIT
#include "tests/unit/appserver/AppServerTest.h"

namespace appserver {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

/// What a client may say in a session, and in which order.
class RequestRules : public AppServerTest
{
protected:
    static RequestText withFrame(RequestText request, wire::FrameType type, const std::string &payload)
    {
        request.text += static_cast<char>(type);
        for (int shift = 24; shift >= 0; shift -= 8) {
            request.text += static_cast<char>(payload.size() >> shift & 0xFFU);
        }
        request.text += payload;
        return request;
    }

    /// The answer to one command of a new session in which ada has logged in.
    AnswerText command(const std::string &line)
    {
        const std::string id = openUpload(++m_nonce);
        return ask(RequestText().session(id, 1).command(2, line));
    }

    std::uint8_t m_nonce = 0;
};

TEST_F(RequestRules, frames_whose_contents_make_no_sense_are_a_malformed_request)
{
    using wire::FrameType;
    const std::string id = openUpload(++m_nonce);
    for (const FrameType type : {FrameType::hello, FrameType::session}) {
        EXPECT_THAT(ask(withFrame(RequestText(), type, "\x01")).lines, Contains("X 0 SYSTEM/PROTOCOL/101"));
    }
    for (const FrameType type :
         {FrameType::command, FrameType::object, FrameType::data, FrameType::query, FrameType::end}) {
        EXPECT_THAT(ask(withFrame(RequestText().session(id), type, "\x01")).lines,
                    Contains("X 0 SYSTEM/PROTOCOL/101"))
            << static_cast<char>(type);
    }
    EXPECT_THAT(ask(RequestText().session(id)).lines, ElementsAre("Z 1")) << "the session goes on";
}

TEST_F(RequestRules, the_frames_of_an_answer_are_none_of_a_request)
{
    const std::string id = openUpload(++m_nonce);
    RequestText request = RequestText().session(id);
    request.add(wire::ResultFrame{2, "result"});
    EXPECT_THAT(ask(request).lines, Contains("X 0 SYSTEM/PROTOCOL/101"));
}

TEST_F(RequestRules, a_hello_needs_a_version_of_this_server_between_its_two)
{
    const auto hello = [](std::uint16_t lowest, std::uint16_t highest) {
        wire::HelloFrame frame;
        frame.application = "directory";
        frame.lowestVersion = lowest;
        frame.highestVersion = highest;
        return RequestText().add(frame);
    };
    EXPECT_THAT(ask(hello(0, 0)).lines, ElementsAre("X 0 SYSTEM/PROTOCOL/102", "Z 0"));
    EXPECT_THAT(ask(hello(0, 7)).lines, ElementsAre("W", "Z 0"));
    EXPECT_THAT(ask(hello(2, 1)).lines, Contains("X 0 SYSTEM/PROTOCOL/101"));
}

TEST_F(RequestRules, a_session_is_not_continued_in_another_version)
{
    const std::string id = openUpload(++m_nonce);
    RequestText request;
    request.add(wire::SessionFrame{2, id, 0}).command(2, "VR_CMD=|MISC:NOP|");
    EXPECT_THAT(ask(request).lines, ElementsAre("X 0 SYSTEM/PROTOCOL/102", "Z 0"));
}

TEST_F(RequestRules, data_beyond_the_announced_object_is_a_malformed_request)
{
    const std::string id = openUpload(++m_nonce);
    RequestText request = RequestText().session(id, 1).command(2, "VR_CMD=|OBJECT:SEND| NAME=|B|");
    request.add(wire::ObjectFrame{wire::ObjectType::file, "B", 3});
    EXPECT_THAT(ask(withFrame(request, wire::FrameType::data, "1234")).lines,
                Contains("X 0 SYSTEM/PROTOCOL/101"));
    RequestText twice = RequestText().session(id, 1).command(2, "VR_CMD=|OBJECT:SEND| NAME=|B|");
    twice.add(wire::ObjectFrame{wire::ObjectType::file, "B", 3});
    twice.add(wire::ObjectFrame{wire::ObjectType::file, "B", 3});
    EXPECT_THAT(ask(twice).lines, Contains("X 0 SYSTEM/PROTOCOL/101"));
    EXPECT_THAT(ask(withFrame(RequestText().session(id, 1).command(2, "VR_CMD=|OBJECT:SEND| NAME=|B|"),
                              wire::FrameType::data, "1234"))
                    .lines,
                Contains("X 0 SYSTEM/PROTOCOL/101"));
}

TEST_F(RequestRules, an_empty_object_is_complete_without_data)
{
    const std::string id = openUpload(++m_nonce);
    EXPECT_THAT(ask(RequestText()
                        .session(id, 1)
                        .command(2, "VR_CMD=|OBJECT:SEND| NAME=|EMPTY|")
                        .file("EMPTY", "")
                        .command(3, "VR_CMD=|OBJECT:FILE_GET_SIZE| NAME=|EMPTY|")
                        .command(4, "VR_CMD=|OBJECT:GET| NAME=|EMPTY|"))
                    .lines,
                ElementsAre("R 2", "R 3 0", "R 4", "O EMPTY 0", "Z 4"));
}

TEST_F(RequestRules, an_object_is_taken_only_under_the_name_of_its_command)
{
    const std::string id = openUpload(++m_nonce);
    EXPECT_THAT(
        ask(RequestText()
                .session(id, 1)
                .command(2, "VR_CMD=|OBJECT:SEND| NAME=|A|")
                .file("B", "bytes")
                .command(3, "VR_CMD=|OBJECT:SEND|")
                .file("B", "bytes")
                .command(4, "VR_CMD=|OBJECT:FILE_GET_SIZE| NAME=|B|"))
            .lines,
        ElementsAre("X 2 SYSTEM/COMMAND/101", "X 3 SYSTEM/COMMAND/101", "X 4 SYSTEM/OBJECT/101", "Z 4"));
}

TEST_F(RequestRules, a_query_and_an_end_stand_alone_and_last)
{
    const std::string id = openUpload(++m_nonce);
    const auto malformed = Contains("X 0 SYSTEM/PROTOCOL/101");
    EXPECT_THAT(ask(RequestText().session(id, 1).command(2, "VR_CMD=|MISC:NOP|").query("F")).lines,
                malformed);
    EXPECT_THAT(ask(RequestText().session(id, 2).query("F").command(3, "VR_CMD=|MISC:NOP|")).lines,
                malformed);
    EXPECT_THAT(ask(RequestText().session(id, 2).query("F").query("F")).lines, malformed);
    EXPECT_THAT(ask(RequestText().session(std::string(64, 'a')).query("F")).lines,
                ElementsAre("X 0 SYSTEM/SESSION/101", "Z 0"));
    EXPECT_THAT(ask(RequestText().hello("nothing", 99).end()).lines,
                ElementsAre("X 0 SYSTEM/SECURITY/104", "Z 0"));
}

TEST_F(RequestRules, a_query_for_a_value_knows_no_size)
{
    const std::string id = openUpload(++m_nonce);
    ask(RequestText().session(id, 1).command(2, "VR_CMD=|OBJECT:CREATE| TYPE=|STRING| NAME=|S|"));
    EXPECT_THAT(ask(RequestText().session(id, 2).query("S")).lines, ElementsAre("P 2 none", "Z 2"));
}

TEST_F(RequestRules, an_answer_that_was_lost_is_given_again_with_the_queued_commands_before_it)
{
    const std::string id = openUpload(++m_nonce);
    const auto request = RequestText()
                             .session(id, 1)
                             .command(2, "VR_CMD=|OBJECT:CREATE| TYPE=|FILE| NAME=|T|")
                             .queued(3, "VR_CMD=|OBJECT:SEND| NAME=|B|")
                             .file("B", "bytes")
                             .queued(4, "VR_CMD=|OBJECT:FILE_APPEND| NAME=|T| SNAME=|B|", 0)
                             .command(5, "VR_CMD=|OBJECT:FILE_GET_SIZE| NAME=|T|");
    const auto answer = ElementsAre("R 2", "A 4", "R 5 5", "Z 5");
    EXPECT_THAT(ask(request).lines, answer);
    EXPECT_THAT(ask(request).lines, answer);
}

TEST_F(RequestRules, a_queued_command_that_is_asked_for_again_unqueued_has_succeeded)
{
    const std::string id = openUpload(++m_nonce);
    ask(RequestText().session(id, 1).queued(2, "VR_CMD=|OBJECT:REMOVE| NAME=|B|"));
    EXPECT_THAT(ask(RequestText().session(id, 1).command(2, "VR_CMD=|OBJECT:REMOVE| NAME=|B|")).lines,
                ElementsAre("R 2", "Z 2"));
}

TEST_F(RequestRules, a_malformed_queued_command_is_named_as_such)
{
    const std::string id = openUpload(++m_nonce);
    const AnswerText answer = ask(RequestText().session(id, 1).queued(2, "nonsense"));
    EXPECT_THAT(answer.lines, ElementsAre("X 2 SYSTEM/COMMAND/101", "Z 2"));
    EXPECT_THAT(answer.errors.back(), HasSubstr("malformed command (number 2) failed: "));
}

TEST_F(RequestRules, procedures_of_a_session_are_called_as_it_opens_and_ends)
{
    wire::HelloFrame hello;
    hello.lowestVersion = hello.highestVersion = wire::protocolVersion;
    hello.application = "upload";
    hello.openProcedure = "Nothing";
    hello.closeProcedure = "Nothing";
    const std::string id = ask(RequestText().add(hello)).session;
    EXPECT_THAT(ask(RequestText().session(id).end()).lines, ElementsAre("Z 0"));
}

TEST_F(RequestRules, a_session_whose_opening_procedure_fails_does_not_open)
{
    wire::HelloFrame hello;
    hello.lowestVersion = hello.highestVersion = wire::protocolVersion;
    hello.application = "upload";
    hello.openProcedure = "Absent";
    const AnswerText answer = ask(RequestText().add(hello).command(1, login));
    EXPECT_THAT(answer.lines, ElementsAre("X 0 SYSTEM/PROCEDURE/101", "Z 0"));
    EXPECT_THAT(answer.errors.back(), HasSubstr("there is no procedure 'Absent'"));
    EXPECT_EQ(services->sessions.count(), 0U);
    // The same hello once more does not find the session that failed.
    EXPECT_THAT(ask(RequestText().add(hello)).lines, ElementsAre("X 0 SYSTEM/PROCEDURE/101", "Z 0"));
}

TEST_F(RequestRules, a_session_ends_even_if_its_closing_procedure_fails)
{
    wire::HelloFrame hello;
    hello.lowestVersion = hello.highestVersion = wire::protocolVersion;
    hello.application = "upload";
    hello.closeProcedure = "Absent";
    const std::string id = ask(RequestText().add(hello)).session;
    EXPECT_THAT(ask(RequestText().session(id).end()).lines, ElementsAre("X 0 SYSTEM/PROCEDURE/101", "Z 0"));
    EXPECT_EQ(services->sessions.count(), 0U);
}

TEST_F(RequestRules, procedures_take_the_arguments_that_they_know)
{
    const std::pair<std::string, std::string> cases[]{
        {"VR_PROC=|Nothing| X=|1|", "Nothing has no argument X"},
        {"VR_PROC=|GetData| DIRECTORY=|demo| KEY=|Settings| ENTRIES=|Parameters| MORE=|1|",
         "GetData has no argument MORE"},
        {"VR_PROC=|GetData| DIRECTORY=|demo| KEY=|Settings|", "GetData needs the argument ENTRIES"},
        {"VR_PROC=|GetData| KEY=|Settings| ENTRIES=|Parameters|", "GetData needs the argument DIRECTORY"},
        {"VR_PROC=|GetData| DIRECTORY=|none| KEY=|Settings| ENTRIES=|Parameters|",
         "no directory of that name"},
        {"VR_PROC=|GetData| DIRECTORY=|demo| KEY=|Settings| ENTRIES=|Topics|", "holds no such entries"},
        {"VR_PROC=|ProcessFile| QUEUE=|demo| COPIES=|2|", "ProcessFile has no argument COPIES"},
    };
    for (const auto &[line, problem] : cases) {
        const AnswerText answer = command(line);
        EXPECT_THAT(answer.lines, ElementsAre("X 2 SYSTEM/PROCEDURE/102", "Z 2")) << line;
        EXPECT_THAT(answer.errors, ElementsAre(HasSubstr(problem))) << line;
    }
}

TEST_F(RequestRules, a_document_is_processed_from_a_file_and_a_list)
{
    const auto process = [this](const RequestText &more) {
        const std::string id = openUpload(++m_nonce);
        RequestText request = RequestText().session(id, 1);
        request.text += more.text;
        return ask(request.command(4, "VR_PROC=|ProcessFile|"));
    };
    const std::string sendFile = "VR_CMD=|OBJECT:SEND| NAME=|RECEIVED_FILE|";
    const std::string sendInfo = "VR_CMD=|OBJECT:SEND| NAME=|FILE_INFO|";
    AnswerText answer = process(RequestText()
                                    .command(2, sendFile)
                                    .value("RECEIVED_FILE", wire::Value(std::string("text")))
                                    .command(3, "VR_CMD=|MISC:NOP|"));
    EXPECT_THAT(answer.lines, ElementsAre("R 2", "R 3", "X 4 POD/INPUT/102", "Z 4"));
    EXPECT_THAT(answer.errors, ElementsAre(HasSubstr("RECEIVED_FILE is no file")));
    for (const wire::Value &value : {wire::Value(std::string("text")), wire::Value(std::int64_t{1}),
                                     wire::Value(wire::StringList{"text"})}) {
        answer = process(RequestText()
                             .command(2, sendFile)
                             .file("RECEIVED_FILE", "text")
                             .command(3, sendInfo)
                             .value("FILE_INFO", value));
        EXPECT_THAT(answer.errors, ElementsAre(HasSubstr("FILE_INFO is no list of keys and values")));
    }
    answer = process(RequestText()
                         .command(2, sendFile)
                         .file("RECEIVED_FILE", "text")
                         .command(3, sendInfo)
                         .file("FILE_INFO", "text"));
    EXPECT_THAT(answer.errors, ElementsAre(HasSubstr("FILE_INFO is no list of keys and values")));
    answer = process(
        RequestText().command(2, sendFile).file("RECEIVED_FILE", "text").command(3, "VR_CMD=|MISC:NOP|"));
    EXPECT_THAT(answer.errors, ElementsAre(HasSubstr("there is no FILE_INFO")));
    answer = process(RequestText()
                         .command(2, sendFile)
                         .file("RECEIVED_FILE", "text")
                         .command(3, sendInfo)
                         .value("FILE_INFO", wire::IndStringList{{"FILE_SIZE", "4"}}));
    EXPECT_THAT(answer.lines, ElementsAre("R 2", "R 3", "R 4", "O FILE_ID 32", "Z 4"));
    EXPECT_EQ(services->documents.all().at(0).queue, "") << "the queue may be left out";
}

TEST_F(RequestRules, commands_whose_fields_contradict_one_another_fail)
{
    const std::pair<std::string, std::string> cases[]{
        {"VR_CMD=|OBJECT:CREATE| TYPE=|FILE| NAME=|F| REPLACE=|PERHAPS|", "REPLACE is neither YES nor NO"},
        {"VR_CMD=|OBJECT:CREATE| NAME=|F|", "OBJECT:CREATE needs TYPE"},
        {"VR_CMD=|OBJECT:REMOVE| NAME=|a\x7F|", "NAME is no name of an object"},
    };
    for (const auto &[line, problem] : cases) {
        EXPECT_THAT(command(line).errors, ElementsAre(HasSubstr(problem))) << line;
    }
    const std::string id = openUpload(++m_nonce);
    const AnswerText answer = ask(RequestText()
                                      .session(id, 1)
                                      .command(2, "VR_CMD=|OBJECT:CREATE| TYPE=|FILE| NAME=|F| REPLACE=|NO|")
                                      .command(3, "VR_CMD=|OBJECT:CREATE| TYPE=|FILE| NAME=|F| REPLACE=|NO|")
                                      .command(4, "VR_CMD=|OBJECT:FILE_APPEND| NAME=|F| SNAME=|F|")
                                      .command(5, "VR_CMD=|OBJECT:FILE_DECOMPRESS| NAME=|F| DNAME=|F|")
                                      .command(6, "VR_CMD=|OBJECT:STRING_SET_VALUE| NAME=|F| VALUE=|text|")
                                      .command(7, "VR_CMD=|OBJECT:STRING_SET_VALUE| NAME=|G| VALUE=|text|"));
    EXPECT_THAT(answer.lines, ElementsAre("R 2", "X 3 SYSTEM/OBJECT/103", "X 4 SYSTEM/COMMAND/101",
                                          "X 5 SYSTEM/COMMAND/101", "X 6 SYSTEM/OBJECT/102",
                                          "X 7 SYSTEM/OBJECT/101", "Z 7"));
}

TEST_F(RequestRules, values_of_every_type_can_be_created_and_set)
{
    const std::string id = openUpload(++m_nonce);
    const AnswerText answer = ask(RequestText()
                                      .session(id, 1)
                                      .command(2, "VR_CMD=|OBJECT:CREATE| TYPE=|STRING| NAME=|S|")
                                      .command(3, "VR_CMD=|OBJECT:STRING_SET_VALUE| NAME=|S| VALUE=|text|")
                                      .command(4, "VR_CMD=|OBJECT:GET| NAME=|S|")
                                      .command(5, "VR_CMD=|OBJECT:CREATE| TYPE=|STRINGLIST| NAME=|L|")
                                      .command(6, "VR_CMD=|OBJECT:CREATE| TYPE=|INDSTRINGLIST| NAME=|I|")
                                      .command(7, "VR_CMD=|OBJECT:CREATE| TYPE=|TABLE| NAME=|T|")
                                      .command(8, "VR_CMD=|OBJECT:GET| NAME=|L|")
                                      .command(9, "VR_CMD=|OBJECT:STRING_SET_VALUE| NAME=|L| VALUE=|text|"));
    EXPECT_THAT(answer.lines, ElementsAre("R 2", "R 3", "R 4", "O S 4", "R 5", "R 6", "R 7", "R 8", "O L 0",
                                          "X 9 SYSTEM/OBJECT/102", "Z 9"));
    EXPECT_EQ(answer.data, "text");
}

TEST_F(RequestRules, values_of_all_types_count_against_the_memory_of_a_session)
{
    configure("[Limits]\nSessionMemoryBytes=65536\n");
    const std::string big(30'000, 'x');
    const wire::Value values[]{wire::Value(big), wire::Value(wire::StringList{big}),
                               wire::Value(wire::IndStringList{{"k", big}}),
                               wire::Value(wire::Table{1, {big}})};
    for (const wire::Value &value : values) {
        const std::string id = openUpload(++m_nonce);
        const AnswerText answer = ask(RequestText()
                                          .session(id, 1)
                                          .command(2, "VR_CMD=|OBJECT:SEND| NAME=|A|")
                                          .value("A", value)
                                          .command(3, "VR_CMD=|OBJECT:SEND| NAME=|B|")
                                          .value("B", value)
                                          .command(4, "VR_CMD=|OBJECT:SEND| NAME=|C|")
                                          .value("C", value)
                                          .command(5, "VR_CMD=|OBJECT:SEND| NAME=|B|")
                                          .value("B", value));
        EXPECT_THAT(answer.lines, ElementsAre("R 2", "R 3", "X 4 SYSTEM/OBJECT/104", "R 5", "Z 5"))
            << wire::typeName(wire::typeOf(value));
    }
}

TEST_F(RequestRules, a_result_that_no_longer_fits_into_a_variable_fails)
{
    configure("[Limits]\nSessionMemoryBytes=65536\n");
    const std::string id = openUpload(++m_nonce);
    const std::string full(65536 - 32, 'x');
    const AnswerText answer = ask(RequestText()
                                      .session(id, 1)
                                      .command(2, "VR_CMD=|OBJECT:CREATE| TYPE=|FILE| NAME=|F|")
                                      .command(3, "VR_CMD=|OBJECT:SEND| NAME=|S|")
                                      .value("S", wire::Value(full))
                                      .command(4, "VR_CMD=|OBJECT:FILE_GET_SIZE| NAME=|F| VR_VAR=|SIZE|"));
    EXPECT_THAT(answer.lines, ElementsAre("R 2", "R 3", "X 4 SYSTEM/OBJECT/104", "Z 4"));
    EXPECT_THAT(answer.errors, ElementsAre(HasSubstr("the variables of the session are too large")));
}

TEST_F(RequestRules, an_object_that_is_no_value_of_its_type_is_refused)
{
    const std::string id = openUpload(++m_nonce);
    RequestText request = RequestText().session(id, 1).command(2, "VR_CMD=|OBJECT:SEND| NAME=|N|");
    request.add(wire::ObjectFrame{wire::ObjectType::integer, "N", 3});
    request = withFrame(request, wire::FrameType::data, "abc").command(3, "VR_CMD=|MISC:NOP|");
    const AnswerText answer = ask(request);
    EXPECT_THAT(answer.lines, ElementsAre("X 2 SYSTEM/OBJECT/104", "R 3", "Z 3"));
    EXPECT_THAT(answer.errors, ElementsAre(HasSubstr("the object 'N' is malformed or exceeds a limit")));
}

TEST_F(RequestRules, half_a_login_is_a_login_that_fails)
{
    const std::string id = openUpload(++m_nonce);
    EXPECT_THAT(ask(RequestText()
                        .session(id, 1)
                        .command(2, "VR_CMD=|MISC:NOP| POD_USER=|ada|")
                        .command(3, "VR_CMD=|MISC:NOP| POD_PASSWORD=|lovelace|"))
                    .lines,
                ElementsAre("X 2 SYSTEM/SECURITY/103", "X 3 SYSTEM/SECURITY/101", "Z 3"));
}

} // namespace appserver
