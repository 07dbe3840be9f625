// SPDX-License-Identifier: MIT
#include "tests/support/LibraryUpload.h"
#include "tests/support/TemporaryFolder.h"
#include "vrc/Request.h"
#include "vrc/connection_string.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <array>
#include <csignal>

namespace {

class LocalCommands : public testing::Test
{
protected:
    bool command(const std::string &line)
    {
        std::array<char, 4096> buffer{};
        const bool isDone = m_request.command(line, buffer);
        m_result = buffer.data();
        return isDone;
    }

    std::string resultOf(const std::string &line)
    {
        return command(line) ? m_result : "error " + errorCode();
    }

    std::string errorCode()
    {
        std::array<char, 64> buffer{};
        const bool isDone =
            m_request.command("VR_CMD=|LOCAL:REQUEST:ERROR_INFO| ERROR_STRING=|CODE|", buffer);
        return isDone ? buffer.data() : "no code";
    }

    /// The error code of a command that has to fail.
    std::string codeOf(const std::string &line) { return command(line) ? "success" : errorCode(); }

    std::string object(const std::string &type, const std::string &more = {})
    {
        return resultOf("VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|" + type + "| NAME=|O|" + more);
    }

    std::string file(const std::string &name, const std::string &path, const std::string &more = {})
    {
        return resultOf("VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|FILE| NAME=|" + name + "| FILENAME=|" + path +
                        "|" + more);
    }

    TemporaryFolder m_folder;
    vrc::Request m_request{vrc::parseConnectionString("Server=\"127.0.0.1:1\"").value()};
    std::string m_result;
};

} // namespace

TEST_F(LocalCommands, a_string_keeps_its_text)
{
    EXPECT_EQ(object("STRING"), "");
    EXPECT_EQ(resultOf("VR_CMD=|LOCAL:OBJECT:STRING_SET_VALUE| NAME=|O| VALUE=|a: b=c|"), "");
    EXPECT_EQ(resultOf("VR_CMD=|LOCAL:OBJECT:STRING_GET_VALUE| NAME=|O|"), "a: b=c");
}

TEST_F(LocalCommands, an_integer_keeps_its_number)
{
    EXPECT_EQ(object("INTEGER"), "");
    EXPECT_EQ(resultOf("VR_CMD=|LOCAL:OBJECT:INTEGER_GET_VALUE| NAME=|O|"), "0");
    EXPECT_EQ(resultOf("VR_CMD=|LOCAL:OBJECT:INTEGER_SET_VALUE| NAME=|O| VALUE=|-9223372036854775808|"), "");
    EXPECT_EQ(resultOf("VR_CMD=|LOCAL:OBJECT:INTEGER_GET_VALUE| NAME=|O|"), "-9223372036854775808");
    EXPECT_EQ(codeOf("VR_CMD=|LOCAL:OBJECT:INTEGER_SET_VALUE| NAME=|O| VALUE=|9223372036854775808|"), "129");
    EXPECT_EQ(codeOf("VR_CMD=|LOCAL:OBJECT:INTEGER_SET_VALUE| NAME=|O| VALUE=||"), "129");
}

TEST_F(LocalCommands, a_keyed_list_replaces_the_value_of_a_key)
{
    object("INDSTRINGLIST");
    const std::string set = "VR_CMD=|LOCAL:OBJECT:INDSTRINGLIST_SET_VALUE| NAME=|O| KEY=|MODE| VALUE=|";
    EXPECT_EQ(resultOf(set + "STANDARD|"), "");
    EXPECT_EQ(resultOf("VR_CMD=|LOCAL:OBJECT:INDSTRINGLIST_SET_VALUE| NAME=|O| KEY=|B| VALUE=||"), "");
    EXPECT_EQ(resultOf(set + "TUNNEL|"), "");
    EXPECT_EQ(resultOf("VR_CMD=|LOCAL:OBJECT:INDSTRINGLIST_GET_SIZE| NAME=|O|"), "2");
    EXPECT_EQ(resultOf("VR_CMD=|LOCAL:OBJECT:INDSTRINGLIST_GET_KEY| NAME=|O| INDEX=|1|"), "MODE");
    EXPECT_EQ(resultOf("VR_CMD=|LOCAL:OBJECT:INDSTRINGLIST_GET_VALUE| NAME=|O| KEY=|MODE|"), "TUNNEL");
    EXPECT_EQ(resultOf("VR_CMD=|LOCAL:OBJECT:INDSTRINGLIST_GET_VALUE| NAME=|O| INDEX=|2|"), "");
    EXPECT_EQ(codeOf("VR_CMD=|LOCAL:OBJECT:INDSTRINGLIST_GET_VALUE| NAME=|O| KEY=|mode|"), "122");
}

TEST_F(LocalCommands, indices_count_from_one)
{
    object("INDSTRINGLIST");
    command("VR_CMD=|LOCAL:OBJECT:INDSTRINGLIST_SET_VALUE| NAME=|O| KEY=|K| VALUE=|V|");
    const std::string get = "VR_CMD=|LOCAL:OBJECT:INDSTRINGLIST_GET_KEY| NAME=|O| INDEX=|";
    EXPECT_EQ(codeOf(get + "0|"), "128");
    EXPECT_EQ(codeOf(get + "-1|"), "128");
    EXPECT_EQ(codeOf(get + "2|"), "128");
    EXPECT_EQ(codeOf(get + "9223372036854775807|"), "128");
    EXPECT_EQ(codeOf(get + "9223372036854775808|"), "129");
    EXPECT_EQ(codeOf(get + "1x|"), "129");
    EXPECT_EQ(codeOf(get + "|"), "129");
    EXPECT_EQ(resultOf(get + "1|"), "K");
}

TEST_F(LocalCommands, a_list_holds_ten_thousand_entries)
{
    object("INDSTRINGLIST");
    const std::string set = "VR_CMD=|LOCAL:OBJECT:INDSTRINGLIST_SET_VALUE| NAME=|O| VALUE=|V| KEY=|";
    for (int i = 0; i < 10'000; ++i) {
        ASSERT_TRUE(command(set + std::to_string(i) + "|"));
    }
    EXPECT_EQ(codeOf(set + "one more|"), "130");
    EXPECT_EQ(resultOf(set + "9999|"), "");
}

TEST_F(LocalCommands, lists_and_tables_that_are_new_are_empty)
{
    EXPECT_EQ(object("STRINGLIST"), "");
    EXPECT_EQ(resultOf("VR_CMD=|LOCAL:OBJECT:STRINGLIST_GET_SIZE| NAME=|O|"), "0");
    EXPECT_EQ(codeOf("VR_CMD=|LOCAL:OBJECT:STRINGLIST_GET_VALUE| NAME=|O| INDEX=|1|"), "128");
    EXPECT_EQ(object("TABLE", " REPLACE=|YES|"), "");
    EXPECT_EQ(resultOf("VR_CMD=|LOCAL:OBJECT:TABLE_GET_NUM_ROWS| NAME=|O|"), "0");
    EXPECT_EQ(codeOf("VR_CMD=|LOCAL:OBJECT:TABLE_GET_ROW| NAME=|O| ROW=|1| MODE=|STRING|"), "128");
    EXPECT_EQ(codeOf("VR_CMD=|LOCAL:OBJECT:TABLE_GET_ROW| NAME=|O| ROW=|1| MODE=|OTHER|"), "121");
}

TEST_F(LocalCommands, an_object_is_replaced_only_when_told)
{
    EXPECT_EQ(object("STRING"), "");
    EXPECT_EQ(object("STRING"), "error 134");
    EXPECT_EQ(object("STRING", " REPLACE=|NO|"), "error 134");
    EXPECT_EQ(object("INTEGER", " REPLACE=|YES|"), "");
    EXPECT_EQ(codeOf("VR_CMD=|LOCAL:OBJECT:STRING_GET_VALUE| NAME=|O|"), "123");
}

TEST_F(LocalCommands, a_removed_object_is_unknown_and_may_be_removed_again)
{
    object("STRING");
    EXPECT_EQ(resultOf("VR_CMD=|LOCAL:OBJECT:REMOVE| NAME=|O|"), "");
    EXPECT_EQ(resultOf("VR_CMD=|LOCAL:OBJECT:REMOVE| NAME=|O|"), "");
    EXPECT_EQ(codeOf("VR_CMD=|LOCAL:OBJECT:STRING_GET_VALUE| NAME=|O|"), "122");
    EXPECT_EQ(resultOf("VR_CMD=|LOCAL:OBJECT:STRING_GET_VALUE| NAME=|O| VR_NO_ERROR=|YES|"), "");
}

TEST_F(LocalCommands, malformed_ones_are_refused)
{
    for (const char *line :
         {"", "nonsense", "VR_CMD=|LOCAL:OBJECT:DANCE| NAME=|O|", "VR_CMD=|LOCAL:OBJECT:CREATE| NAME=|O|",
          "VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|BLOB| NAME=|O|",
          "VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|STRING| NAME=||",
          "VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|FILE| NAME=|O|",
          "VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|FILE| NAME=|O| FILENAME=||",
          "VR_CMD=|LOCAL:OBJECT:REMOVE| NAME=|O| COLOUR=|red|",
          "VR_CMD=|LOCAL:OBJECT:REMOVE| NAME=|O| VR_CONTAINER=|c|", "VR_CMD=|LOCAL:OBJECT:REMOVE| NAME=|a|b|",
          "VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|STRING| NAME=|O| REPLACE=|1|"}) {
        EXPECT_EQ(codeOf(line), "121") << line;
    }
    EXPECT_EQ(codeOf("VR_CMD=|LOCAL:OBJECT:REMOVE| NAME=|" + std::string(2'000'000, 'x') + "|"), "130");
}

TEST_F(LocalCommands, a_request_holds_so_many_objects_and_variables_and_no_more)
{
    const auto create = [](const std::string &name) {
        return "VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|INTEGER| NAME=|" + name + "| REPLACE=|YES|";
    };
    for (int number = 0; number < 1024; ++number) {
        ASSERT_EQ(resultOf(create("O" + std::to_string(number))), "");
    }
    EXPECT_EQ(codeOf(create("Another")), "130");
    EXPECT_EQ(resultOf(create("O7")), "") << "one that is there is replaced";

    const auto keep = [](const std::string &name) {
        return "VR_CMD=|LOCAL:OBJECT:INTEGER_GET_VALUE| NAME=|O7| VR_VAR=|" + name + "|";
    };
    for (int number = 0; number < 64; ++number) {
        ASSERT_EQ(resultOf(keep("V" + std::to_string(number))), "0");
    }
    EXPECT_EQ(codeOf(keep("Another")), "130");
    EXPECT_EQ(resultOf(keep("V7")), "0") << "one that is there is replaced";
}

TEST_F(LocalCommands, asking_about_an_error_changes_nothing_of_it)
{
    EXPECT_EQ(codeOf("nonsense"), "121");
    EXPECT_FALSE(command("VR_CMD=|LOCAL:REQUEST:ERROR_INFO| ERROR_STRING=|WEATHER|"));
    EXPECT_FALSE(command("VR_CMD=|LOCAL:REQUEST:ERROR_INFO|"));
    EXPECT_EQ(errorCode(), "121");
    EXPECT_EQ(resultOf("VR_CMD=|LOCAL:REQUEST:ERROR_INFO| ERROR_STRING=|SERVICE|"), "LOCAL");
    EXPECT_EQ(resultOf("VR_CMD=|LOCAL:REQUEST:ERROR_INFO| ERROR_STRING=|CLASS|"), "REQUEST");
    EXPECT_EQ(resultOf("VR_CMD=|LOCAL:REQUEST:GET_SESSION_ID|"), "");
    EXPECT_EQ(errorCode(), "121") << "a command that succeeds does not clear it";
}

TEST_F(LocalCommands, a_result_that_does_not_fit_is_an_error_and_no_cut_text)
{
    object("STRING");
    command("VR_CMD=|LOCAL:OBJECT:STRING_SET_VALUE| NAME=|O| VALUE=|abc|");
    std::array<char, 5> buffer = {'x', 'x', 'x', 'x', 'x'};
    const std::string get = "VR_CMD=|LOCAL:OBJECT:STRING_GET_VALUE| NAME=|O|";
    EXPECT_TRUE(m_request.command(get, std::span(buffer.data(), 4)));
    EXPECT_STREQ(buffer.data(), "abc");
    EXPECT_EQ(buffer[4], 'x');
    EXPECT_FALSE(m_request.command(get, std::span(buffer.data(), 3)));
    EXPECT_STREQ(buffer.data(), "");
    EXPECT_EQ(errorCode(), "124");
    EXPECT_FALSE(m_request.command(get, std::span(buffer.data(), 1)));
    EXPECT_TRUE(m_request.command(get, {})) << "nobody wants the result";
}

TEST_F(LocalCommands, variables_are_used_once_unless_they_are_kept)
{
    object("INTEGER");
    const std::string size = "VR_CMD=|LOCAL:OBJECT:INTEGER_GET_VALUE| NAME=|O| VR_VAR=|V|";
    const std::string use = "VR_CMD=|LOCAL:OBJECT:INTEGER_SET_VALUE| NAME=|O| VALUE=|##V|";
    EXPECT_EQ(codeOf(use), "127");
    EXPECT_EQ(resultOf(size), "0");
    EXPECT_EQ(resultOf(use + " VR_KEEP_VAR=|YES|"), "");
    EXPECT_EQ(resultOf(use), "");
    EXPECT_EQ(codeOf(use), "127");
}

TEST_F(LocalCommands, a_command_that_fails_removes_its_variable)
{
    object("INTEGER");
    command("VR_CMD=|LOCAL:OBJECT:INTEGER_GET_VALUE| NAME=|O| VR_VAR=|V|");
    EXPECT_EQ(codeOf("VR_CMD=|LOCAL:OBJECT:INTEGER_GET_VALUE| NAME=|MISSING| VR_VAR=|V|"), "122");
    EXPECT_EQ(codeOf("VR_CMD=|LOCAL:OBJECT:INTEGER_SET_VALUE| NAME=|O| VALUE=|##V|"), "127");
}

TEST_F(LocalCommands, a_temporary_file_goes_with_its_object_and_another_stays)
{
    const std::string temporary = m_folder.write("t", "x");
    const std::string other = m_folder.write("o", "x");
    EXPECT_EQ(file("T", temporary, " PERSIST=|0|"), "");
    EXPECT_EQ(file("P", other, " PERSIST=|-1|"), "");
    EXPECT_EQ(file("Q", other), "");
    EXPECT_EQ(file("X", other, " PERSIST=|1|"), "error 129");
    for (const char *name : {"T", "P", "Q"}) {
        command(std::string("VR_CMD=|LOCAL:OBJECT:REMOVE| NAME=|") + name + "|");
    }
    EXPECT_FALSE(std::filesystem::exists(temporary));
    EXPECT_TRUE(std::filesystem::exists(other));
}

TEST_F(LocalCommands, a_temporary_file_goes_when_its_object_is_replaced_or_the_request_ends)
{
    const std::string first = m_folder.write("1", "x");
    const std::string second = m_folder.write("2", "x");
    {
        vrc::Request request(vrc::parseConnectionString("Server=\"127.0.0.1:1\"").value());
        const std::string create =
            "VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|FILE| NAME=|T| PERSIST=|0| REPLACE=|YES| FILENAME=|";
        EXPECT_TRUE(request.command(create + first + "|", {}));
        EXPECT_TRUE(request.command(create + second + "|", {}));
        EXPECT_FALSE(std::filesystem::exists(first));
        EXPECT_TRUE(std::filesystem::exists(second));
    }
    EXPECT_FALSE(std::filesystem::exists(second));
}

TEST_F(LocalCommands, a_copy_is_the_bytes_asked_for)
{
    file("S", m_folder.write("s", "0123456789"));
    file("B", m_folder.file("b"), " PERSIST=|0|");
    const std::string copy = "VR_CMD=|LOCAL:OBJECT:COPY| NAME=|B| SNAME=|S| ";
    EXPECT_EQ(resultOf(copy + "OFFSET=|0| NUM_BYTES=|10|"), "");
    EXPECT_EQ(resultOf(copy + "OFFSET=|7| NUM_BYTES=|3|"), "");
    EXPECT_EQ(m_folder.read("b"), "789");
    EXPECT_EQ(resultOf("VR_CMD=|LOCAL:OBJECT:FILE_GET_SIZE| NAME=|B|"), "3");
    EXPECT_EQ(resultOf(copy + "OFFSET=|10| NUM_BYTES=|0|"), "");
    EXPECT_EQ(m_folder.read("b"), "");
    EXPECT_EQ(codeOf(copy + "OFFSET=|8| NUM_BYTES=|3|"), "125");
    EXPECT_EQ(codeOf(copy + "OFFSET=|11| NUM_BYTES=|0|"), "125");
    EXPECT_EQ(codeOf(copy + "OFFSET=|-1| NUM_BYTES=|1|"), "129");
    EXPECT_EQ(codeOf(copy + "OFFSET=|1| NUM_BYTES=|9223372036854775807|"), "125");
    EXPECT_EQ(codeOf("VR_CMD=|LOCAL:OBJECT:COPY| NAME=|S| SNAME=|S| OFFSET=|0| NUM_BYTES=|1|"), "126");
    EXPECT_EQ(m_folder.read("s"), "0123456789");
}

TEST_F(LocalCommands, files_that_cannot_be_read_or_written_are_errors)
{
    file("MISSING", m_folder.file("missing"));
    file("FOLDER", m_folder.path());
    file("S", m_folder.write("s", "0123456789"));
    file("NOWHERE", m_folder.file("no/such/folder"));
    std::filesystem::create_symlink(m_folder.file("s"), m_folder.file("link"));
    file("LINK", m_folder.file("link"));
    EXPECT_EQ(codeOf("VR_CMD=|LOCAL:OBJECT:FILE_GET_SIZE| NAME=|MISSING|"), "125");
    EXPECT_EQ(codeOf("VR_CMD=|LOCAL:OBJECT:FILE_GET_SIZE| NAME=|FOLDER|"), "125");
    EXPECT_EQ(codeOf("VR_CMD=|LOCAL:OBJECT:FILE_COMPRESS| NAME=|MISSING| DNAME=|S|"), "125");
    EXPECT_EQ(codeOf("VR_CMD=|LOCAL:OBJECT:FILE_COMPRESS| NAME=|S| DNAME=|NOWHERE|"), "126");
    EXPECT_EQ(codeOf("VR_CMD=|LOCAL:OBJECT:FILE_COMPRESS| NAME=|S| DNAME=|S|"), "126");
    EXPECT_EQ(codeOf("VR_CMD=|LOCAL:OBJECT:COPY| NAME=|NOWHERE| SNAME=|S| OFFSET=|0| NUM_BYTES=|1|"), "126");
    EXPECT_EQ(codeOf("VR_CMD=|LOCAL:OBJECT:COPY| NAME=|LINK| SNAME=|S| OFFSET=|0| NUM_BYTES=|1|"), "126");
    EXPECT_EQ(m_folder.read("s"), "0123456789");
}

TEST_F(LocalCommands, a_file_of_two_gibibytes_is_refused)
{
    const std::string path = m_folder.write("huge", "");
    std::filesystem::resize_file(path, 0x7fffffff); // holes
    file("HUGE", path);
    EXPECT_EQ(resultOf("VR_CMD=|LOCAL:OBJECT:FILE_GET_SIZE| NAME=|HUGE|"), "2147483647");
    std::filesystem::resize_file(path, 0x80000000);
    EXPECT_EQ(codeOf("VR_CMD=|LOCAL:OBJECT:FILE_GET_SIZE| NAME=|HUGE|"), "130");
    file("OUT", m_folder.file("out"));
    EXPECT_EQ(codeOf("VR_CMD=|LOCAL:OBJECT:FILE_COMPRESS| NAME=|HUGE| DNAME=|OUT|"), "130");
}

/// A limit of this process stands in for a full disk.
TEST_F(LocalCommands, a_disk_that_takes_no_more_is_an_error_of_writing)
{
    const std::string text = incompressibleText(200'000);
    file("S", m_folder.write("s", text));
    file("OUT", m_folder.file("out"));
    rlimit before = {};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto previous = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit small = {100'000, before.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &small);
    const std::string copied =
        codeOf("VR_CMD=|LOCAL:OBJECT:COPY| NAME=|OUT| SNAME=|S| OFFSET=|0| NUM_BYTES=|200000|");
    const std::string compressed = codeOf("VR_CMD=|LOCAL:OBJECT:FILE_COMPRESS| NAME=|S| DNAME=|OUT|");
    ::setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, previous);
    EXPECT_EQ(copied, "126");
    EXPECT_EQ(compressed, "126");
    EXPECT_FALSE(std::filesystem::exists(m_folder.file("out"))) << "half a file is left behind";
}
