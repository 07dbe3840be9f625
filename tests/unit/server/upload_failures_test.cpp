// SPDX-License-Identifier: MIT
#include "tests/support/UploadTest.h"
#include "vrp/settings/stored_credentials.h"

#include <functional>
#include <tuple>

namespace {

const ScriptedLibrary::Error someError{"SYSTEM", "OBJECT", "7"};
constexpr char nop[] = "VR_CMD=|MISC:NOP|";
constexpr char sessionEnd[] = "> VR_CLOSE_SESSION=|YES|\nclose\n";

class UploadFailure : public UploadTest
{
protected:
    /// Expects that the upload ends as every failure does: nothing more is sent but the session's end, at
    /// most one box, the window is closed.
    void expectFailure(const std::string &message, const std::string &lastCommand)
    {
        EXPECT_EQ(upload(), 1);
        const std::string box = message.empty() ? "" : "box critical ok " + message + "\n";
        EXPECT_TRUE(Transcript::text().ends_with(sessionEnd + box + "close window\n")) << Transcript::text();
        EXPECT_EQ(boxes(), box);
        const std::string sent = commands();
        const std::string beforeEnd = sent.substr(0, sent.rfind("> VR_CLOSE_SESSION"));
        EXPECT_TRUE(beforeEnd.ends_with("> " + lastCommand + "\n")) << beforeEnd;
        EXPECT_EQ(fileId == L"before" || fileId.empty(), true);
        EXPECT_EQ(main->password, L"ident-secret");
    }
};

constexpr char append[] = "VR_CMD=|OBJECT:FILE_APPEND| NAME=|RECEIVED_COMPRESSED_FILE| SNAME=|BLOCK_FILE|";
constexpr char serverSize[] = "VR_CMD=|LOCAL:OBJECT:INTEGER_GET_VALUE| NAME=|SERVER_FILE_SIZE|";
constexpr char sendError[] = "Error sending file to server.";
constexpr char copyStart[] = "VR_CMD=|LOCAL:OBJECT:COPY| NAME=|BLOCK_FILE| SNAME=|COMPRESSED_FILE| ";

/// The error report's last question follows a failed command.
constexpr char lastReportQuestion[] = "VR_CMD=|LOCAL:REQUEST:ERROR_INFO| ERROR_STRING=|INFO|";

class BlockCommandFailure : public UploadFailure, public testing::WithParamInterface<std::tuple<int, int>>
{};

const char *const blockCommands[] = {copyStart, "VR_CMD=|OBJECT:REMOVE| NAME=|BLOCK_FILE|",
                                     "VR_CMD=|OBJECT:SEND| NAME=|BLOCK_FILE|", append};

TEST_P(BlockCommandFailure, ends_the_upload_without_a_further_command)
{
    const auto [block, command] = GetParam();
    const std::string failing = blockCommands[command];
    if (block == 2) {
        library.fail(failing, someError);
        library.answer(failing, "", 1);
    } else {
        library.fail(failing, someError, 1);
    }
    expectFailure(sendError, lastReportQuestion);
    EXPECT_EQ(Transcript::count("> " + failing), block);
    for (int later = command + 1; later < 4; ++later) {
        EXPECT_EQ(Transcript::count(std::string("> ") + blockCommands[later]), block - 1);
    }
    EXPECT_EQ(Transcript::linesFrom("> VR_CMD=|OBJECT:CREATE| TYPE=|INTEGER|"), "");
}

INSTANTIATE_TEST_SUITE_P(OfEachBlock, BlockCommandFailure,
                         testing::Combine(testing::Values(1, 2), testing::Range(0, 4)));

TEST_F(UploadFailure, a_block_is_not_tried_again_but_for_the_channels_retry)
{
    library.fail("VR_CMD=|OBJECT:SEND| NAME=|BLOCK_FILE|", {"LOCAL", "REQUEST", "104"}, 1);
    EXPECT_EQ(upload(), 0);
    EXPECT_EQ(Transcript::count("> VR_CMD=|OBJECT:SEND| NAME=|BLOCK_FILE|"), 3);
}

TEST_F(UploadFailure, no_print_mode_offered)
{
    scriptStringList(library, "PRINTING_MODES", {"PAPER", ""});
    expectFailure("You are not authorized to perform the operation.",
                  "VR_CMD=|LOCAL:OBJECT:STRINGLIST_GET_VALUE| NAME=|PRINTING_MODES| INDEX=|2|");
}

TEST_F(UploadFailure, a_negative_number_of_print_modes_is_none)
{
    library.answer("VR_CMD=|LOCAL:OBJECT:STRINGLIST_GET_SIZE| NAME=|PRINTING_MODES|", "-1");
    expectFailure("You are not authorized to perform the operation.",
                  "VR_CMD=|LOCAL:OBJECT:STRINGLIST_GET_SIZE| NAME=|PRINTING_MODES|");
}

TEST_F(UploadFailure, a_cancelled_print_mode_dialog_shows_no_box)
{
    user.inPrintModeDialog = [] { return 1; };
    expectFailure("", "VR_CMD=|LOCAL:OBJECT:STRINGLIST_GET_VALUE| NAME=|PRINTING_MODES| INDEX=|3|");
}

TEST_F(UploadFailure, a_print_mode_of_an_earlier_upload_does_not_count)
{
    main->printMode = printModeAsync;
    user.inPrintModeDialog = [] { return 1; };
    expectFailure("", "VR_CMD=|LOCAL:OBJECT:STRINGLIST_GET_VALUE| NAME=|PRINTING_MODES| INDEX=|3|");
}

TEST_F(UploadFailure, an_unreadable_or_empty_compressed_file)
{
    const char *size = "VR_CMD=|LOCAL:OBJECT:FILE_GET_SIZE| NAME=|COMPRESSED_FILE|";
    for (const char *bytes : {"0", "-1", "", "none"}) {
        Transcript::clear();
        library.answer(size, bytes);
        expectFailure("Bad file.", size);
    }
}

TEST_F(UploadFailure, a_document_that_cannot_be_compressed)
{
    library.fail("VR_CMD=|LOCAL:OBJECT:FILE_COMPRESS|", someError);
    library.fail("VR_CMD=|LOCAL:OBJECT:FILE_GET_SIZE| NAME=|COMPRESSED_FILE|", someError);
    expectFailure("Bad file.", lastReportQuestion);
}

TEST_F(UploadFailure, the_compressed_size_differs_on_the_server)
{
    for (const char *bytes : {"65545", "0", "", "-65546"}) {
        Transcript::clear();
        library.answer(serverSize, bytes);
        expectFailure(sendError, serverSize);
        EXPECT_EQ(Transcript::linesFrom("> VR_CMD=|OBJECT:FILE_DECOMPRESS|"), "");
    }
}

TEST_F(UploadFailure, the_plain_size_differs_on_the_server)
{
    library.answer(serverSize, "199999");
    library.answer(serverSize, std::to_string(twoBlocks), 1);
    expectFailure(sendError, serverSize);
    EXPECT_EQ(Transcript::count("> VR_CMD=|OBJECT:FILE_DECOMPRESS|"), 1);
    EXPECT_EQ(Transcript::linesFrom("> VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|INDSTRINGLIST|"), "");
}

TEST_F(UploadFailure, a_bad_format_is_told_as_such)
{
    library.fail("VR_PROC=|ProcessFile|", {" pod ", "Input", "101 "});
    expectFailure("Invalid format file.", "VR_CMD=|LOCAL:REQUEST:ERROR_INFO| ERROR_STRING=|CODE|");
    const std::string question = "> VR_CMD=|LOCAL:REQUEST:ERROR_INFO| ERROR_STRING=|";
    EXPECT_NE(Transcript::text().find(question + "INFO|\n" + question + "SERVICE|\n" + question + "CLASS|\n" +
                                      question + "CODE|\n> VR_CLOSE_SESSION=|YES|\n"),
              std::string::npos);
    EXPECT_EQ(library.capacityOf("VR_CMD=|LOCAL:REQUEST:ERROR_INFO|"), 2048);
}

TEST_F(UploadFailure, any_other_refusal_is_told_as_a_processing_error)
{
    const ScriptedLibrary::Error others[] = {{"POD", "INPUT", "102"},
                                             {"POD", "OUTPUT", "101"},
                                             {"SYSTEM", "INPUT", "101"},
                                             {"POD", "INPUT", "0101"},
                                             {"", "", ""}};
    for (const ScriptedLibrary::Error &error : others) {
        Transcript::clear();
        scriptUpload(library, plainBytes, twoBlocks);
        library.fail("VR_PROC=|ProcessFile|", error);
        expectFailure("Error processing sent file.", "VR_CMD=|LOCAL:REQUEST:ERROR_INFO| ERROR_STRING=|CODE|");
    }
}

TEST_F(UploadFailure, no_file_identifier)
{
    const char *value = "VR_CMD=|LOCAL:OBJECT:STRING_GET_VALUE| NAME=|FILE_ID|";
    library.answer(value, "");
    expectFailure("Cannot get the file identifier.", value);
}

TEST_F(UploadFailure, a_silent_run_shows_no_box)
{
    main->silent = true;
    const std::function<void()> arrangements[] = {
        [this] { library.fail("VR_PROC=|ProcessFile|", someError, 1); },
        [this] {
            library.fail("VR_PROC=|ProcessFile|", {"POD", "INPUT", "101"}, 1);
        },
        [this] { library.answer("VR_CMD=|LOCAL:OBJECT:STRING_GET_VALUE| NAME=|FILE_ID|", "", 1); },
        [this] { library.answer("VR_CMD=|LOCAL:OBJECT:STRINGLIST_GET_SIZE| NAME=|PRINTING_MODES|", "0", 1); },
        [this] { library.answer(serverSize, "1", 1); },
        [this] {
            library.answer(serverSize, "1", 1);
            library.answer(serverSize, std::to_string(twoBlocks), 1);
        },
        [this] { library.fail(append, someError, 1); },
        [this] { library.answer("VR_CMD=|LOCAL:OBJECT:FILE_GET_SIZE| NAME=|COMPRESSED_FILE|", "0", 1); },
        [this] {
            library.fail(nop, {"SYSTEM", "SECURITY", "101"}, 1);
        },
        [this] {
            library.fail(nop, {"SYSTEM", "SECURITY", "103"}, 1);
        },
        [this] { library.fail(nop, someError, 2); },
    };
    for (const std::function<void()> &arrange : arrangements) {
        Transcript::clear();
        scriptUpload(library, plainBytes, twoBlocks);
        main->standardModeOffered = main->asyncModeOffered = main->tunnelModeOffered = false;
        arrange();
        EXPECT_EQ(upload(), 1);
        EXPECT_EQ(boxes(), "");
        EXPECT_TRUE(Transcript::text().ends_with("close window\n"));
    }
}

/// Commands whose result nobody examines: the upload goes on.
TEST_F(UploadFailure, failures_that_show_elsewhere_or_not_at_all_do_not_end_the_upload)
{
    const char *unexamined[] = {
        "VR_CMD=|OBJECT:GET| NAME=|PRINTING_MODES|",
        "VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|FILE| NAME=|SEND_FILE|",
        "VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|FILE| NAME=|COMPRESSED_FILE|",
        "VR_CMD=|LOCAL:OBJECT:FILE_COMPRESS|",
        "VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|FILE| NAME=|BLOCK_FILE|",
        "VR_CMD=|OBJECT:CREATE| TYPE=|FILE| NAME=|RECEIVED_FILE|",
        "VR_CMD=|OBJECT:CREATE| TYPE=|FILE| NAME=|RECEIVED_COMPRESSED_FILE|",
        "VR_CMD=|OBJECT:CREATE| TYPE=|INTEGER|",
        "VR_CMD=|OBJECT:FILE_GET_SIZE|",
        "VR_CMD=|OBJECT:INTEGER_SET_VALUE|",
        "VR_CMD=|OBJECT:GET| NAME=|SERVER_FILE_SIZE|",
        "VR_CMD=|OBJECT:REMOVE| NAME=|SERVER_FILE_SIZE|",
        "VR_CMD=|OBJECT:FILE_DECOMPRESS|",
        "VR_CMD=|LOCAL:OBJECT:REMOVE| NAME=|BLOCK_FILE|",
        "VR_CMD=|LOCAL:OBJECT:REMOVE| NAME=|COMPRESSED_FILE|",
        "VR_CMD=|OBJECT:REMOVE| NAME=|RECEIVED_COMPRESSED_FILE|",
        "VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|INDSTRINGLIST|",
        "VR_CMD=|LOCAL:OBJECT:INDSTRINGLIST_SET_VALUE|",
        "VR_CMD=|OBJECT:SEND| NAME=|FILE_INFO|",
        "VR_CMD=|OBJECT:GET| NAME=|FILE_ID|",
        "VR_CLOSE_SESSION=|YES|",
    };
    for (const char *command : unexamined) {
        scriptUpload(library, plainBytes, twoBlocks);
        library.fail(command, someError, 1);
        EXPECT_EQ(upload(), 0) << command;
    }
    EXPECT_EQ(boxes(), "");
}

/// Whatever single command fails for good, the upload ends in order: told once, closed, and never a success
/// without an identifier.
TEST_F(UploadFailure, every_command_may_be_the_one_that_fails)
{
    EXPECT_EQ(upload(), 0);
    const int total = library.commandCount();
    for (int number = 1; number <= total; ++number) {
        Transcript::clear();
        scriptUpload(library, plainBytes, twoBlocks);
        main->standardModeOffered = main->asyncModeOffered = main->tunnelModeOffered = false;
        fileId.clear();
        library.failCommand(library.commandCount() + number, someError);
        const int result = upload();
        EXPECT_EQ(Transcript::count("box critical"), result) << number << Transcript::text();
        EXPECT_EQ(fileId.empty(), result != 0) << number;
        EXPECT_EQ(Transcript::count("open "), Transcript::count("close") - Transcript::count("close window"));
    }
}

// The connection.

TEST_F(UploadFailure, a_cancelled_connection_is_logged_and_shows_no_box)
{
    library.fail(nop, {"LOCAL", "REQUEST", "113"});
    user.inProxyDialog = [] { return 1; };
    EXPECT_EQ(upload(), 1);
    EXPECT_EQ(boxes(), "");
    EXPECT_TRUE(Transcript::text().ends_with("dialog proxy\nclose window\n"));
    EXPECT_TRUE(logText().ends_with("User canceled the operation\n"));
    EXPECT_EQ(main->password, L"ident-secret");
    EXPECT_EQ(stored(L"Settings", L"Password"), L"(absent)");
}

struct LoginCase
{
    ScriptedLibrary::Error error;
    const char *message;
    const char *lastLogLine; ///< null for none of its own
    int attempts;
};

TEST_F(UploadFailure, a_failed_login_is_told_and_the_password_cleared)
{
    const LoginCase cases[] = {
        {{"SYSTEM", "SECURITY", "101"}, "Bad user name.", "Bad user\n", 1},
        {{"SYSTEM", "SECURITY", "103"}, "Bad password.", "Bad password\n", 1},
        {{"LOCAL", "REQUEST", "120"}, "Cannot connect the server.", nullptr, 2},
        {{"LOCAL", "REQUEST", "103"}, "Cannot connect the server.", nullptr, 2},
    };
    for (const LoginCase &each : cases) {
        Transcript::clear();
        main->password = L"ident-secret";
        VrpsSetIdentPasswordToRegistry();
        ASSERT_NE(stored(L"Settings", L"Password"), L"");
        library.fail(nop, each.error);
        EXPECT_EQ(upload(), 1);
        EXPECT_TRUE(Transcript::text().ends_with(std::string("close\nbox critical ok ") + each.message +
                                                 "\nclose window\n"));
        EXPECT_EQ(Transcript::count("open "), each.attempts);
        EXPECT_EQ(commands().find("VR_CLOSE_SESSION"), std::string::npos);
        EXPECT_EQ(main->password, L"");
        EXPECT_EQ(stored(L"Settings", L"Password"), L"");
        EXPECT_EQ(stored(L"Settings", L"Identifier"), L"ident");
        if (each.lastLogLine) {
            EXPECT_TRUE(logText().ends_with(each.lastLogLine));
        }
    }
}

TEST_F(UploadFailure, a_server_that_answers_the_second_connection_gets_the_document)
{
    library.fail(nop, someError, 1);
    EXPECT_EQ(upload(), 0);
    EXPECT_EQ(library.connections().size(), 2U);
    EXPECT_EQ(library.connections()[0], library.connections()[1]);
}

} // namespace
