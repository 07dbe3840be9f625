// SPDX-License-Identifier: MIT
#include "vrp/server/command_channel.h"

#include "tests/support/ServerTest.h"

#include <vrc.h>

#include <array>

namespace {

const ScriptedLibrary::Error networkError{"LOCAL", "REQUEST", "104", "lost", "eof"};
const ScriptedLibrary::Error otherError{" system ", "Object", "7", "no such\nobject", "x|y"};

class CommandChannel : public ServerTest
{
protected:
    CommandChannel() : request(VrOpenRequest("test")) { Transcript::clear(); }

    void TearDown() override { VrCloseRequest(request); }

    int run(const std::wstring &command) { return VrpsVrCommand(request, command, nullptr, 0, nullptr); }

    int ask(const std::wstring &command)
    {
        return VrpsVrCommand(request, command, result.data(), static_cast<int>(result.size()), nullptr);
    }

    void *request;
    std::array<wchar_t, 8192> result{};
};

constexpr char reportQueries[] = "> VR_CMD=|LOCAL:REQUEST:ERROR_INFO| ERROR_STRING=|SERVICE|\n"
                                 "> VR_CMD=|LOCAL:REQUEST:ERROR_INFO| ERROR_STRING=|CLASS|\n"
                                 "> VR_CMD=|LOCAL:REQUEST:ERROR_INFO| ERROR_STRING=|CODE|\n"
                                 "> VR_CMD=|LOCAL:REQUEST:ERROR_INFO| ERROR_STRING=|CODE|\n"
                                 "> VR_CMD=|LOCAL:REQUEST:ERROR_INFO| ERROR_STRING=|DESCRIPTION|\n"
                                 "> VR_CMD=|LOCAL:REQUEST:ERROR_INFO| ERROR_STRING=|INFO|\n";

constexpr char tripleQueries[] = "> VR_CMD=|LOCAL:REQUEST:ERROR_INFO| ERROR_STRING=|SERVICE|\n"
                                 "> VR_CMD=|LOCAL:REQUEST:ERROR_INFO| ERROR_STRING=|CLASS|\n"
                                 "> VR_CMD=|LOCAL:REQUEST:ERROR_INFO| ERROR_STRING=|CODE|\n";

TEST_F(CommandChannel, a_result_reaches_the_buffer_and_the_log)
{
    library.answer("VR_CMD=|X|", "gr\xC3\xBC\xC3\x9F \xF0\x9F\x96\xA8");
    EXPECT_EQ(ask(L"VR_CMD=|X| A=|\u00E9|"), 1);
    EXPECT_EQ(std::wstring(result.data()), L"gr\u00FC\u00DF \U0001F5A8");
    EXPECT_EQ(Transcript::text(), "> VR_CMD=|X| A=|\xC3\xA9|\n");
    EXPECT_EQ(
        logText(),
        "Varek command: VR_CMD=|X| A=|\xC3\xA9| - Result buffer: gr\xC3\xBC\xC3\x9F \xF0\x9F\x96\xA8\n");
}

TEST_F(CommandChannel, without_a_buffer_the_log_shows_an_empty_result)
{
    library.answer("VR_CMD=|X|", "unread");
    EXPECT_EQ(run(L"VR_CMD=|X|"), 1);
    EXPECT_EQ(logText(), "Varek command: VR_CMD=|X| - Result buffer: \n");
    EXPECT_EQ(library.capacityOf("VR_CMD=|X|"), 0);
}

TEST_F(CommandChannel, without_a_log_commands_are_carried_out_alike)
{
    main->log.fileName.clear();
    library.answer("VR_CMD=|X|", "answer");
    library.fail("VR_CMD=|Y|", otherError);
    EXPECT_EQ(ask(L"VR_CMD=|X|"), 1);
    EXPECT_EQ(std::wstring(result.data()), L"answer");
    EXPECT_NE(run(L"VR_CMD=|Y|"), 1);
    EXPECT_EQ(Transcript::text(), std::string("> VR_CMD=|X|\n> VR_CMD=|Y|\n") + reportQueries);
    EXPECT_EQ(logText(), "");
}

TEST_F(CommandChannel, the_library_gets_four_bytes_for_each_character_of_the_buffer)
{
    ask(L"VR_CMD=|X|");
    EXPECT_EQ(library.capacityOf("VR_CMD=|X|"), 4 * 8192);
}

TEST_F(CommandChannel, the_extra_integer_of_a_caller_reaches_the_library)
{
    int extra = 7;
    library.expectedExtra = &extra;
    EXPECT_EQ(VrpsVrCommand(request, L"VR_CMD=|X|", nullptr, 0, &extra), 1);
    EXPECT_EQ(extra, 7);
}

TEST_F(CommandChannel, a_result_that_fills_the_buffer_with_longest_characters_is_whole)
{
    std::string printers;
    for (int i = 0; i < 8191; ++i) {
        printers += "\xF0\x9F\x96\xA8";
    }
    library.answer("VR_CMD=|X|", printers);
    EXPECT_EQ(ask(L"VR_CMD=|X|"), 1);
    EXPECT_EQ(std::wstring(result.data()), std::wstring(8191, L'\U0001F5A8'));
}

TEST_F(CommandChannel, of_a_result_longer_than_the_buffer_the_whole_is_logged_and_the_caller_gets_what_fits)
{
    library.answer("VR_CMD=|X|", "0123456789");
    std::array<wchar_t, 6> small{};
    small.back() = L'#';
    EXPECT_EQ(VrpsVrCommand(request, L"VR_CMD=|X|", small.data(), 5, nullptr), 1);
    EXPECT_EQ(std::wstring(small.data()), L"0123");
    EXPECT_EQ(small.back(), L'#');
    EXPECT_EQ(logText(), "Varek command: VR_CMD=|X| - Result buffer: 0123456789\n");
}

TEST_F(CommandChannel, the_result_of_a_failed_command_is_still_copied)
{
    library.fail("VR_CMD=|X|", otherError, ScriptedLibrary::always, "half");
    EXPECT_EQ(ask(L"VR_CMD=|X|"), 0);
    EXPECT_EQ(std::wstring(result.data()), L"half");
}

TEST_F(CommandChannel, a_failed_command_without_a_result_empties_the_buffer)
{
    result[0] = L'x';
    library.fail("VR_CMD=|X|", otherError);
    EXPECT_EQ(ask(L"VR_CMD=|X|"), 0);
    EXPECT_EQ(std::wstring(result.data()), L"");
}

TEST_F(CommandChannel, an_error_is_reported_in_the_log_on_one_line)
{
    library.fail("VR_CMD=|X|", otherError);
    EXPECT_EQ(run(L"VR_CMD=|X|"), 0);
    EXPECT_EQ(Transcript::text(), std::string("> VR_CMD=|X|\n") + reportQueries);
    EXPECT_EQ(logText(), "Varek command: VR_CMD=|X| - Error\n"
                         "Varek error: SYSTEM:OBJECT:7:no such\\nobject:x|y:\n");
    EXPECT_EQ(library.capacityOf("VR_CMD=|LOCAL:REQUEST:ERROR_INFO|"), 4096);
}

TEST_F(CommandChannel, the_option_v_shows_the_error_report)
{
    main->verbose = true;
    library.fail("VR_CMD=|X|", otherError);
    run(L"VR_CMD=|X|");
    EXPECT_EQ(Transcript::text(), std::string("> VR_CMD=|X|\n") + reportQueries +
                                      "box critical ok Varek error: SYSTEM:OBJECT:7:no such\nobject:x|y:\n");
}

TEST_F(CommandChannel, the_option_s_suppresses_the_box_of_the_option_v)
{
    main->verbose = true;
    main->silent = true;
    library.fail("VR_CMD=|X|", otherError);
    run(L"VR_CMD=|X|");
    EXPECT_EQ(boxes(), "");
    EXPECT_EQ(logText(), "Varek command: VR_CMD=|X| - Error\n"
                         "Varek error: SYSTEM:OBJECT:7:no such\\nobject:x|y:\n");
}

TEST_F(CommandChannel, a_network_error_is_retried_once)
{
    library.fail("VR_CMD=|X|", networkError, 1);
    EXPECT_EQ(run(L"VR_CMD=|X|"), 1);
    EXPECT_EQ(Transcript::text(), std::string("> VR_CMD=|X|\n") + tripleQueries + "> VR_CMD=|X|\n");
    EXPECT_EQ(logText(), "Varek command: VR_CMD=|X|Network error - retrying...\n - Result buffer: \n");
}

TEST_F(CommandChannel, a_second_network_error_is_reported)
{
    library.fail("VR_CMD=|X|", networkError);
    EXPECT_EQ(run(L"VR_CMD=|X|"), 0);
    EXPECT_EQ(Transcript::text(),
              std::string("> VR_CMD=|X|\n") + tripleQueries + "> VR_CMD=|X|\n" + reportQueries);
    EXPECT_EQ(logText(), "Varek command: VR_CMD=|X|Network error - retrying...\n"
                         " - Error\n"
                         "Varek error: LOCAL:REQUEST:104:lost:eof:\n");
}

TEST_F(CommandChannel, each_command_has_a_retry_of_its_own)
{
    library.fail("VR_CMD=|X|", networkError, 1);
    library.fail("VR_CMD=|Y|", networkError, 1);
    EXPECT_EQ(run(L"VR_CMD=|X|"), 1);
    EXPECT_EQ(run(L"VR_CMD=|Y|"), 1);
}

TEST_F(CommandChannel, code_104_of_another_service_or_class_is_not_retried)
{
    library.fail("VR_CMD=|X|", {"SYSTEM", "REQUEST", "104"});
    library.fail("VR_CMD=|Y|", {"LOCAL", "OBJECT", "104"});
    EXPECT_EQ(run(L"VR_CMD=|X|"), 0);
    EXPECT_EQ(run(L"VR_CMD=|Y|"), 0);
    EXPECT_EQ(library.commandCount(), 2);
}

TEST_F(CommandChannel, letter_case_and_blanks_of_service_and_class_do_not_count)
{
    library.fail("VR_CMD=|X|", {" local", "Request ", "104 (lost)"}, 1);
    EXPECT_EQ(run(L"VR_CMD=|X|"), 1);
}

TEST_F(CommandChannel, the_password_of_a_command_is_sent_but_not_logged)
{
    run(L"VR_CMD=|MISC:NOP| POD_USER=|u| POD_PASSWORD=|sec ret=| NEXT=|n|");
    EXPECT_EQ(Transcript::text(), "> VR_CMD=|MISC:NOP| POD_USER=|u| POD_PASSWORD=|sec ret=| NEXT=|n|\n");
    EXPECT_EQ(logText(), "Varek command: VR_CMD=|MISC:NOP| POD_USER=|u| POD_PASSWORD=|****| NEXT=|n| - "
                         "Result buffer: \n");
}

TEST_F(CommandChannel, the_value_of_a_password_parameter_reaches_the_buffer_but_not_the_log)
{
    library.answer("VR_CMD=|LOCAL:OBJECT:INDSTRINGLIST_GET_VALUE|", "secret");
    ask(L"VR_CMD=|LOCAL:OBJECT:INDSTRINGLIST_GET_VALUE| NAME=|parameters| KEY=|SERVER_PORTAL_PASSWORD|");
    EXPECT_EQ(std::wstring(result.data()), L"secret");
    EXPECT_EQ(logText(), "Varek command: VR_CMD=|LOCAL:OBJECT:INDSTRINGLIST_GET_VALUE| NAME=|parameters| "
                         "KEY=|SERVER_PORTAL_PASSWORD| - Result buffer: ****\n");
}

TEST_F(CommandChannel, an_error_report_does_not_repeat_a_password)
{
    library.fail("VR_CMD=|X|",
                 {"SYSTEM", "COMMAND", "1", "cannot read VR_CMD=|X| POD_PASSWORD=|secret| A=|b|"});
    run(L"VR_CMD=|X|");
    EXPECT_EQ(logText().find("secret"), std::string::npos);
}

TEST_F(CommandChannel, line_ends_and_control_characters_of_a_result_are_escaped_in_the_log_alone)
{
    library.answer("VR_CMD=|X|", "one\r\nVarek connection: forged\x1B[2J\tend");
    ask(L"VR_CMD=|X|");
    EXPECT_EQ(std::wstring(result.data()), L"one\r\nVarek connection: forged\x1B[2J\tend");
    EXPECT_EQ(logText(),
              "Varek command: VR_CMD=|X| - Result buffer: one\\r\\nVarek connection: forged\\x1B[2J\tend\n");
}

TEST_F(CommandChannel, line_ends_that_a_server_puts_into_a_command_are_escaped_in_the_log)
{
    run(L"VR_CMD=|X| KEY=|a\nb|");
    EXPECT_EQ(logText(), "Varek command: VR_CMD=|X| KEY=|a\\nb| - Result buffer: \n");
}

} // namespace
