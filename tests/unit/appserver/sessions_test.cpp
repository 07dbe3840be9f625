// SPDX-License-Identifier: MIT
#include "tests/unit/appserver/AppServerTest.h"

namespace appserver {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

class Sessions : public AppServerTest
{};

TEST_F(Sessions, a_hello_opens_a_session_with_an_unguessable_identifier)
{
    const AnswerText answer = ask(RequestText().hello("directory"));
    EXPECT_THAT(answer.lines, ElementsAre("W", "Z 0"));
    EXPECT_THAT(answer.session, ::testing::MatchesRegex("[0-9a-f]{64}"));
}

TEST_F(Sessions, a_repeated_hello_gets_the_same_session)
{
    const std::string first = ask(RequestText().hello("directory", 7)).session;
    EXPECT_EQ(ask(RequestText().hello("directory", 7)).session, first);
    EXPECT_NE(ask(RequestText().hello("directory", 8)).session, first);
    EXPECT_NE(ask(RequestText().hello("portal", 7)).session, first);
}

TEST_F(Sessions, an_unknown_application_or_a_wrong_connection_user_is_refused)
{
    const auto refused = ElementsAre("X 0 SYSTEM/SECURITY/104", "Z 0");
    EXPECT_THAT(ask(RequestText().hello("nothing")).lines, refused);
    EXPECT_THAT(ask(RequestText().hello("upload", 1, "user")).lines, refused);
    EXPECT_THAT(ask(RequestText().hello("upload", 1, "", "password")).lines, refused);
}

TEST_F(Sessions, a_version_that_nobody_knows_is_refused)
{
    wire::HelloFrame hello;
    hello.lowestVersion = 2;
    hello.highestVersion = 9;
    EXPECT_THAT(ask(RequestText().add(hello)).lines, ElementsAre("X 0 SYSTEM/PROTOCOL/102", "Z 0"));
}

TEST_F(Sessions, an_unknown_session_is_an_error_but_can_be_ended)
{
    const std::string unknown(64, 'a');
    EXPECT_THAT(ask(RequestText().session(unknown).command(1, login)).lines,
                ElementsAre("X 0 SYSTEM/SESSION/101", "Z 0"));
    EXPECT_THAT(ask(RequestText().session(unknown).end()).lines, ElementsAre("Z 0"));
}

TEST_F(Sessions, an_ended_session_is_unknown_and_its_folder_is_gone)
{
    const std::string id = openUpload();
    ask(RequestText().session(id, 1).command(2, "VR_CMD=|OBJECT:CREATE| TYPE=|FILE| NAME=|F|"));
    EXPECT_FALSE(std::filesystem::is_empty(folder / "sessions"));
    EXPECT_FALSE(std::filesystem::exists(folder / "sessions" / id)) << "the name of a folder is no secret";
    EXPECT_THAT(ask(RequestText().session(id, 2).end()).lines, ElementsAre("Z 2"));
    EXPECT_TRUE(std::filesystem::is_empty(folder / "sessions"));
    EXPECT_THAT(ask(RequestText().session(id)).lines, ElementsAre("X 0 SYSTEM/SESSION/101", "Z 0"));
}

TEST_F(Sessions, a_command_that_arrives_twice_is_carried_out_once_and_answered_twice)
{
    const std::string id = openUpload();
    const std::string create = "VR_CMD=|OBJECT:CREATE| TYPE=|STRING| NAME=|S|";
    EXPECT_THAT(ask(RequestText().session(id, 1).command(2, create)).lines, ElementsAre("R 2", "Z 2"));
    // Carried out again it would fail: the object exists.
    EXPECT_THAT(ask(RequestText().session(id, 1).command(2, create)).lines, ElementsAre("R 2", "Z 2"));
    EXPECT_THAT(ask(RequestText().session(id, 1).command(3, create)).lines,
                ElementsAre("X 3 SYSTEM/OBJECT/103", "Z 3"));
    EXPECT_THAT(ask(RequestText().session(id, 2).command(3, create)).lines,
                ElementsAre("X 3 SYSTEM/OBJECT/103", "Z 3"));
}

TEST_F(Sessions, an_object_is_fetched_anew_when_the_command_is_repeated)
{
    const std::string id = openUpload();
    const auto request =
        RequestText().session(id, 1).command(2, "VR_CMD=|OBJECT:GET| NAME=|TUNNEL_MODE| VR_CONTAINER=|demo|");
    EXPECT_THAT(ask(request).lines, ElementsAre("R 2", "O TUNNEL_MODE 8", "Z 2"));
    EXPECT_THAT(ask(request).lines, ElementsAre("R 2", "O TUNNEL_MODE 8", "Z 2"));
}

TEST_F(Sessions, a_number_that_was_skipped_is_refused_and_nothing_is_carried_out)
{
    const std::string id = openUpload();
    EXPECT_THAT(ask(RequestText().session(id, 1).command(3, "VR_CMD=|MISC:NOP|")).lines,
                ElementsAre("X 3 SYSTEM/SESSION/102", "Z 1"));
    EXPECT_THAT(ask(RequestText().session(id, 1).command(2, "VR_CMD=|MISC:NOP|")).lines,
                ElementsAre("R 2", "Z 2"));
}

TEST_F(Sessions, an_acknowledged_answer_is_forgotten)
{
    const std::string id = openUpload();
    EXPECT_THAT(ask(RequestText().session(id, 1).command(1, login)).lines,
                ElementsAre("X 1 SYSTEM/PROTOCOL/101", "Z 1"));
}

TEST_F(Sessions, a_failed_queued_command_is_in_force_until_the_session_ends)
{
    const std::string id = openUpload();
    const AnswerText answer = ask(RequestText()
                                      .session(id, 1)
                                      .queued(2, "VR_CMD=|OBJECT:REMOVE| NAME=|B|")
                                      .queued(3, "VR_CMD=|OBJECT:FILE_APPEND| NAME=|T| SNAME=|B|", 0)
                                      .queued(4, "VR_CMD=|OBJECT:SEND| NAME=|B|")
                                      .file("B", "bytes that are dropped")
                                      .command(5, "VR_CMD=|MISC:NOP|"));
    EXPECT_THAT(answer.lines, ElementsAre("A 2", "X 3 SYSTEM/OBJECT/101", "X 5 SYSTEM/OBJECT/101", "Z 3"));
    EXPECT_THAT(answer.errors.back(), HasSubstr("OBJECT:FILE_APPEND"));
    EXPECT_THAT(ask(RequestText().session(id, 1).command(4, "VR_CMD=|MISC:NOP|")).lines,
                ElementsAre("X 4 SYSTEM/OBJECT/101", "Z 3"));
    EXPECT_THAT(ask(RequestText().session(id, 1).query("T")).lines,
                ElementsAre("X 0 SYSTEM/OBJECT/101", "Z 3"));
    EXPECT_THAT(ask(RequestText().session(id, 1).end()).lines, ElementsAre("Z 3"));
}

TEST_F(Sessions, a_failed_command_that_was_waited_for_does_not_fail_the_session)
{
    const std::string id = openUpload();
    EXPECT_THAT(ask(RequestText()
                        .session(id, 1)
                        .command(2, "VR_CMD=|OBJECT:FILE_GET_SIZE| NAME=|none|")
                        .command(3, "VR_CMD=|MISC:NOP|"))
                    .lines,
                ElementsAre("X 2 SYSTEM/OBJECT/101", "R 3", "Z 3"));
}

TEST_F(Sessions, a_query_tells_how_far_an_upload_has_come)
{
    const std::string id = openUpload();
    ask(RequestText()
            .session(id, 1)
            .command(2, "VR_CMD=|OBJECT:CREATE| TYPE=|FILE| NAME=|T|")
            .queued(3, "VR_CMD=|OBJECT:SEND| NAME=|B|")
            .file("B", std::string(1000, 'x'))
            .queued(4, "VR_CMD=|OBJECT:FILE_APPEND| NAME=|T| SNAME=|B|", 0));
    EXPECT_THAT(ask(RequestText().session(id, 2).query("T")).lines, ElementsAre("P 4 1000", "Z 4"));
    EXPECT_THAT(ask(RequestText().session(id, 2).query("none")).lines, ElementsAre("P 4 none", "Z 4"));
}

TEST_F(Sessions, a_request_of_any_piece_size_gives_the_same_answer)
{
    for (const std::size_t pieceBytes : {1U, 2U, 3U, 7U, 64U}) {
        const auto request = RequestText()
                                 .hello("upload", static_cast<std::uint8_t>(pieceBytes))
                                 .command(1, login)
                                 .command(2, "VR_CMD=|OBJECT:CREATE| TYPE=|FILE| NAME=|T|")
                                 .queued(3, "VR_CMD=|OBJECT:SEND| NAME=|B|")
                                 .file("B", std::string(70'000, 'x'))
                                 .command(4, "VR_CMD=|OBJECT:FILE_GET_SIZE| NAME=|B|");
        EXPECT_THAT(ask(request, pieceBytes).lines,
                    ElementsAre("W", "R 1", "R 2", "A 3", "R 4 70000", "Z 4"));
    }
}

TEST_F(Sessions, malformed_requests_are_refused_as_a_whole)
{
    const std::string id = openUpload();
    const auto malformed = ::testing::Contains("X 0 SYSTEM/PROTOCOL/101");
    const RequestText cases[]{
        RequestText(),
        RequestText().command(1, login),
        RequestText().session(id).session(id),
        RequestText().session(id).command(0, login),
        RequestText().session(id).file("B", "x"),
        RequestText().session(id).command(2, "VR_CMD=|MISC:NOP|").file("B", "x"),
        RequestText().session(id).command(2, "VR_CMD=|OBJECT:SEND| NAME=|B|"),
        RequestText().session(id).end().query("B"),
        RequestText().session(id).command(2, "VR_CMD=|MISC:NOP|").end(),
    };
    for (const RequestText &request : cases) {
        EXPECT_THAT(ask(request).lines, malformed) << &request - cases;
    }
    RequestText cut = RequestText().session(id).query("B");
    cut.text.pop_back();
    EXPECT_THAT(ask(cut).lines, malformed);
}

TEST_F(Sessions, sessions_without_a_person_make_room_for_new_ones)
{
    configure("[Limits]\nSessions=2\n");
    const std::string person = openUpload(1);
    const std::string stranger = ask(RequestText().hello("directory", 2)).session;
    EXPECT_THAT(ask(RequestText().hello("directory", 3)).lines, ElementsAre("W", "Z 0"));
    EXPECT_THAT(ask(RequestText().session(stranger)).lines, ElementsAre("X 0 SYSTEM/SESSION/101", "Z 0"));
    EXPECT_THAT(ask(RequestText().session(person)).lines, ElementsAre("Z 1"));
}

TEST_F(Sessions, sessions_of_people_are_never_pushed_out)
{
    configure("[Limits]\nSessions=1\n");
    openUpload();
    EXPECT_THAT(ask(RequestText().hello("directory", 2)).lines, ElementsAre("X 0 SYSTEM/SESSION/103", "Z 0"));
}

TEST_F(Sessions, a_session_that_nobody_uses_expires)
{
    const std::string id = openUpload();
    services->sessions.removeIdle(std::chrono::seconds(0));
    EXPECT_EQ(services->sessions.count(), 0U);
    EXPECT_THAT(ask(RequestText().session(id)).lines, ElementsAre("X 0 SYSTEM/SESSION/101", "Z 0"));
}

TEST_F(Sessions, answers_that_nobody_acknowledges_do_not_fill_the_memory)
{
    const std::string id = openUpload();
    RequestText request = RequestText().session(id, 1);
    for (std::uint64_t number = 2; number < 30'000; ++number) {
        request.command(number, "VR_CMD=|MISC:NOP|");
    }
    EXPECT_THAT(ask(request).lines, ::testing::Contains("X 0 SYSTEM/PROTOCOL/101"));
}

TEST_F(Sessions, unknown_and_malformed_commands_fail_alone)
{
    const std::string id = openUpload();
    const char *lines[]{"",
                        "nonsense",
                        "VR_CMD=|MISC:NOP",
                        "VR_CMD=|OBJECT:EXPLODE| NAME=|x|",
                        "VR_CMD=|LOCAL:OBJECT:REMOVE| NAME=|x|",
                        "VR_CLOSE_SESSION=|YES|",
                        "VR_CMD=|OBJECT:REMOVE|",
                        "VR_CMD=|OBJECT:REMOVE| NAME=||",
                        "VR_CMD=|OBJECT:REMOVE| NAME=|x| FOO=|1|",
                        "VR_CMD=|OBJECT:CREATE| TYPE=|BOOK| NAME=|x|"};
    std::uint64_t number = 2;
    for (const char *line : lines) {
        const std::string error = "X " + std::to_string(number) + " SYSTEM/COMMAND/101";
        EXPECT_THAT(ask(RequestText().session(id, number - 1).command(number, line)).lines,
                    ElementsAre(error, "Z " + std::to_string(number)))
            << line;
        ++number;
    }
}

} // namespace appserver
