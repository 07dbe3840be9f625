// SPDX-License-Identifier: MIT
#include "vrp/core/command_line.h"

#include "tests/support/ArgumentVector.h"
#include "tests/support/FreshMain.h"
#include "tests/support/SettingsFolder.h"

#include <gtest/gtest.h>

#include <ctime>

namespace {

using Words = std::vector<std::wstring>;

Words split(const std::wstring &line)
{
    Words words;
    VrpsparseCmdLine(line.c_str(), words);
    return words;
}

/// The re-joined command line of a program "vrp" with these arguments.
std::wstring join(const std::vector<std::string> &arguments)
{
    ArgumentVector argv("vrp", arguments);
    return VrpsGetCommandLine(argv.count(), argv.data());
}

/// Initialises the application object as the program does with these arguments.
void init(const std::vector<std::string> &arguments)
{
    ArgumentVector argv("/opt/varek/bin/vrp", arguments);
    VrpsGetMain()->Init(argv.count(), argv.data());
}

struct SplitCase
{
    const char *behaviour;
    std::wstring line;
    Words words;
};

class Splitting : public testing::TestWithParam<SplitCase>
{};

TEST_P(Splitting, follows_the_table)
{
    EXPECT_EQ(split(GetParam().line), GetParam().words);
}

INSTANTIATE_TEST_SUITE_P(
    CommandLine, Splitting,
    testing::Values(
        SplitCase{"an_empty_line_has_no_words", L"", {}}, SplitCase{"spaces_alone_have_no_words", L"   ", {}},
        SplitCase{"unquoted_words_are_split_at_spaces", L"a bc  d", {L"a", L"bc", L"d"}},
        SplitCase{"leading_spaces_are_skipped", L"  a", {L"a"}},
        SplitCase{"quoted_words_keep_their_spaces", LR"("a b" "c")", {L"a b", L"c"}},
        SplitCase{"an_empty_argument_becomes_an_empty_word", LR"("a" "" "b")", {L"a", L"", L"b"}},
        SplitCase{"tabs_and_line_ends_do_not_split", L"a\tb\nc d", {L"a\tb\nc", L"d"}},
        SplitCase{"quotes_inside_two_arguments_merge_them", LR"("a"b" "c"d" "e")", {LR"(a"b" "c"d)", L"e"}},
        SplitCase{"a_single_quote_inside_drops_the_rest", LR"("x" "a"b" "c")", {L"x"}},
        SplitCase{"two_quotes_inside_leave_the_rest_alone", LR"("a"x"b" "c")", {LR"(a"x"b)", L"c"}},
        SplitCase{"text_behind_an_unclosed_quote_is_dropped", LR"(a "b c)", {L"a"}},
        SplitCase{"one_quote_goes_at_each_end", LR"(""a"" b)", {LR"("a")", L"b"}},
        SplitCase{"a_quote_at_the_end_alone_goes", LR"(a"b c")", {L"a\"b c"}}),
    [](const auto &instance) { return instance.param.behaviour; });

TEST(CommandLine, splitting_appends_and_returns_the_number_of_all_words)
{
    Words words{L"before"};
    EXPECT_EQ(VrpsparseCmdLine(L"a b", words), 3);
    EXPECT_EQ(words, (Words{L"before", L"a", L"b"}));
}

TEST(CommandLine, splitting_nothing_gives_nothing)
{
    Words words;
    EXPECT_EQ(VrpsparseCmdLine(nullptr, words), 0);
}

TEST(CommandLine, every_argument_is_joined_in_quotes_with_single_spaces)
{
    EXPECT_EQ(join({"-p", "Front desk", ""}), LR"("vrp" "-p" "Front desk" "")");
}

TEST(CommandLine, arguments_survive_joining_and_splitting)
{
    const Words words{L"vrp", L"-f", L"/tmp/a document.pdf", L"", L"tab\there", L"Büro €"};
    EXPECT_EQ(split(join({"-f", "/tmp/a document.pdf", "", "tab\there", "Büro €"})), words);
}

TEST(CommandLine, a_double_quote_inside_an_argument_toggles_the_quoting)
{
    const Words words{L"vrp", LR"(a"b" "c"d)", L"end"};
    EXPECT_EQ(split(join({"a\"b", "c\"d", "end"})), words);
}

TEST(CommandLine, invalid_utf8_is_replaced_and_the_rest_arrives)
{
    const Words words = split(join({"a\xff\xfe z", "next"}));
    ASSERT_EQ(words.size(), 3U);
    EXPECT_EQ(words[1].front(), L'a');
    EXPECT_EQ(words[1].back(), L'z');
    EXPECT_EQ(words[2], L"next");
}

TEST(CommandLine, five_thousand_arguments_arrive)
{
    const std::vector<std::string> arguments(4999, "word");
    const Words words = split(join(arguments));
    EXPECT_EQ(words.size(), 5000U);
    EXPECT_EQ(words.back(), L"word");
}

TEST(CommandLine, an_argument_of_a_megabyte_arrives)
{
    const Words words = split(join({std::string(1'000'000, 'x'), "end"}));
    ASSERT_EQ(words.size(), 3U);
    EXPECT_EQ(words[1], std::wstring(1'000'000, L'x'));
}

TEST(CommandLine, splitting_a_line_of_many_short_words_takes_linear_time)
{
    const auto processorTime = [](std::size_t pairs) {
        std::wstring line;
        for (std::size_t i = 0; i < pairs; ++i) {
            line += L"\" ";
        }
        const std::clock_t start = std::clock();
        EXPECT_EQ(split(line).size(), pairs / 2);
        return std::clock() - start;
    };
    const std::clock_t small = processorTime(50'000) + CLOCKS_PER_SEC / 1000;
    // Twenty times the text: a quadratic splitter would take four hundred times as long.
    EXPECT_LT(processorTime(1'000'000), small * 150);
}

struct FolderCase
{
    const char *path;
    const wchar_t *folder;
};

TEST(ProgramFolder, is_the_absolute_folder_without_a_trailing_slash)
{
    for (const FolderCase &c :
         {FolderCase{"/opt/varek/bin/vrp", L"/opt/varek/bin"}, FolderCase{"/vrp", L""},
          FolderCase{"/opt\\varek/vrp", L"/opt/varek"}, FolderCase{"/opt/varek\\vrp", L"/opt/varek"},
          FolderCase{"/opt/\\vrp", L"/opt"}}) {
        EXPECT_EQ(programFolder(c.path), c.folder) << c.path;
    }
}

TEST(ProgramFolder, of_a_relative_path_starts_at_the_working_directory)
{
    const std::wstring here = QDir::currentPath().toStdWString();
    EXPECT_EQ(programFolder("vrp"), here);
    EXPECT_EQ(programFolder("./sub/vrp"), here + L"/sub");
}

class Options : public testing::Test
{
protected:
    FreshMain m_main;
    SettingsFolder m_settings;
    QTemporaryDir m_folder;

    [[nodiscard]] std::string path(const char *name) const
    {
        return m_folder.filePath(QString::fromUtf8(name)).toStdString();
    }
};

TEST_F(Options, each_keyword_selects_its_run_mode)
{
    const std::vector<std::pair<std::string, int>> keywords{
        {"install", 1}, {"uninstall", 2}, {"configure", 3}, {"send", 4},
        {"help", 5},    {"version", 6},   {"test", 7},      {"testb", 8}};
    for (const auto &[keyword, mode] : keywords) {
        const FreshMain fresh;
        init({"-m", keyword});
        EXPECT_EQ(fresh->runMode, mode) << keyword;
    }
}

TEST_F(Options, no_mode_an_unknown_one_or_a_missing_keyword_select_nothing)
{
    for (const std::vector<std::string> &arguments : std::vector<std::vector<std::string>>{{},
                                                                                           {"-m"},
                                                                                           {"-s", "-m"},
                                                                                           {"-m", "print"},
                                                                                           {"-m", ""},
                                                                                           {"-m", "SEND"},
                                                                                           {"-m", "Version"},
                                                                                           {"-M", "send"},
                                                                                           {"send"},
                                                                                           {"-msend"}}) {
        const FreshMain fresh;
        init(arguments);
        EXPECT_EQ(fresh->runMode, runNone);
    }
}

TEST_F(Options, an_unknown_keyword_leaves_the_mode_chosen_before)
{
    init({"-m", "send", "-m", "print"});
    EXPECT_EQ(m_main->runMode, runSend);
}

TEST_F(Options, nothing_is_set_without_options)
{
    init({"-S", "-K", "-G", "-V", "-B", "-x", "text"});
    EXPECT_FALSE(m_main->silent);
    EXPECT_FALSE(m_main->noConfirm);
    EXPECT_FALSE(m_main->verbose);
    EXPECT_FALSE(m_main->showConnectionErrors);
    EXPECT_TRUE(m_main->removeFile);
    EXPECT_TRUE(m_main->log.fileName.empty());
}

TEST_F(Options, each_switch_sets_its_field)
{
    init({"-k", "-g", "-v", "-b"});
    EXPECT_FALSE(m_main->silent);
    EXPECT_FALSE(m_main->removeFile);
    EXPECT_TRUE(m_main->noConfirm);
    EXPECT_TRUE(m_main->verbose);
    EXPECT_TRUE(m_main->showConnectionErrors);
}

TEST_F(Options, silent_anywhere_on_the_line_asks_no_confirmation_either)
{
    init({"-m", "install", "-x", "-s"});
    EXPECT_TRUE(m_main->silent);
    EXPECT_TRUE(m_main->noConfirm);
}

TEST_F(Options, the_value_of_an_option_is_no_option_itself)
{
    init({"-m", "-s", "-l", "-g"});
    EXPECT_FALSE(m_main->silent);
    EXPECT_FALSE(m_main->noConfirm);
    EXPECT_EQ(m_main->log.fileName, L"-g");
}

TEST_F(Options, the_program_path_is_no_option)
{
    ArgumentVector argv("-s", {});
    m_main->Init(argv.count(), argv.data());
    EXPECT_FALSE(m_main->silent);
    EXPECT_EQ(m_main->arguments, Words{L"-s"});
}

TEST_F(Options, starting_without_even_a_program_path_is_survived)
{
    std::vector<char *> argv{nullptr};
    m_main->Init(0, argv.data());
    EXPECT_EQ(m_main->runMode, runNone);
}

TEST_F(Options, the_program_folder_and_the_arguments_are_kept)
{
    init({"-p", "Front desk"});
    EXPECT_EQ(m_main->programDir, L"/opt/varek/bin");
    EXPECT_EQ(m_main->arguments, (Words{L"/opt/varek/bin/vrp", L"-p", L"Front desk"}));
}

TEST_F(Options, the_log_of_an_earlier_run_is_removed_at_start)
{
    SettingsFolder::write(QString::fromStdString(path("run.log")), "old");
    init({"-l", path("run.log")});
    EXPECT_FALSE(QFile::exists(QString::fromStdString(path("run.log"))));
    EXPECT_TRUE(m_main->socketLogFile.empty());
}

TEST_F(Options, a_semicolon_separates_log_and_socket_log_and_removes_both)
{
    SettingsFolder::write(QString::fromStdString(path("a")), "old");
    SettingsFolder::write(QString::fromStdString(path("b")), "old");
    init({"-l", path("a") + ";" + path("b")});
    EXPECT_EQ(m_main->log.fileName, QString::fromStdString(path("a")).toStdWString());
    EXPECT_EQ(m_main->socketLogFile, QString::fromStdString(path("b")).toStdWString());
    EXPECT_FALSE(QFile::exists(QString::fromStdString(path("a"))));
    EXPECT_FALSE(QFile::exists(QString::fromStdString(path("b"))));
}

TEST_F(Options, nothing_behind_the_semicolon_is_no_socket_log)
{
    init({"-l", path("a") + ";"});
    EXPECT_EQ(m_main->log.fileName, QString::fromStdString(path("a")).toStdWString());
    EXPECT_TRUE(m_main->socketLogFile.empty());
}

TEST_F(Options, only_the_first_semicolon_separates)
{
    init({"-l", path("a") + ";" + path("b;c")});
    EXPECT_EQ(m_main->socketLogFile, QString::fromStdString(path("b;c")).toStdWString());
}

TEST_F(Options, a_log_without_a_name_is_ignored)
{
    init({"-l"});
    EXPECT_TRUE(m_main->log.fileName.empty());
}

struct ValueCase
{
    const char *behaviour;
    Words arguments;
    Words values;
};

class OptionValues : public testing::TestWithParam<ValueCase>
{};

TEST_P(OptionValues, follow_the_table)
{
    const FreshMain main;
    FreshMain::setArguments(GetParam().arguments);
    EXPECT_EQ(optionValues(L"-p"), GetParam().values);
    std::wstring value = L"untouched";
    EXPECT_EQ(optionValue(L"-p", value), !GetParam().values.empty());
    EXPECT_EQ(value, GetParam().values.empty() ? L"untouched" : GetParam().values.back());
}

INSTANTIATE_TEST_SUITE_P(
    CommandLine, OptionValues,
    testing::Values(ValueCase{"absent", {L"-f", L"a"}, {}},
                    ValueCase{"as_the_last_argument", {L"a", L"-p"}, {}},
                    ValueCase{"given_once", {L"-m", L"send", L"-p", L"Front desk"}, {L"Front desk"}},
                    ValueCase{"given_twice_the_last_counts", {L"-p", L"a", L"-p", L"b"}, {L"a", L"b"}},
                    ValueCase{"an_empty_value_is_a_value", {L"-p", L""}, {L""}},
                    ValueCase{"a_value_is_not_an_option", {L"-p", L"-p", L"x"}, {L"-p"}},
                    ValueCase{"case_matters", {L"-P", L"x"}, {}}),
    [](const auto &instance) { return instance.param.behaviour; });

} // namespace
