// SPDX-License-Identifier: MIT
#include "vrp/server/directory_parameters.h"

#include "tests/unit/server/DirectoryTest.h"
#include "vrp/server/RequestSession.h"

namespace {

const ScriptedLibrary::Error unknown{"SYSTEM", "OBJECT", "1"};
constexpr char nop[] = "VR_CMD=|MISC:NOP|";

using Directory = DirectoryTest;
using Entries = std::vector<std::wstring>;

TEST_F(Directory, the_whole_exchange)
{
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(Transcript::text(), R"(window Connecting the directory... -1
window on top
refresh
refresh
open Unicode="YES" Server="host:2000" Application="app" User="" Password="" Ssl="YES" ConnectionTimeOut="5"
> VR_CMD=|MISC:NOP|
> VR_PROC=|GetData| DIRECTORY=|dir| KEY=|Settings| ENTRIES=|Parameters|
refresh
window Getting directory parameters... -1
> VR_CMD=|OBJECT:GET| NAME=|parameters|
refresh
> VR_CMD=|LOCAL:OBJECT:INDSTRINGLIST_GET_SIZE| NAME=|parameters|
> VR_CMD=|LOCAL:OBJECT:INDSTRINGLIST_GET_KEY| NAME=|parameters| INDEX=|1|
> VR_CMD=|LOCAL:OBJECT:INDSTRINGLIST_GET_VALUE| NAME=|parameters| KEY=|A|
> VR_CMD=|LOCAL:OBJECT:INDSTRINGLIST_GET_KEY| NAME=|parameters| INDEX=|2|
> VR_CMD=|LOCAL:OBJECT:INDSTRINGLIST_GET_VALUE| NAME=|parameters| KEY=|B_PASSWORD|
> VR_PROC=|GetData| DIRECTORY=|dir| KEY=|Directories| ENTRIES=|Directories|
> VR_CMD=|OBJECT:GET| NAME=|directories|
> VR_CMD=|LOCAL:OBJECT:STRINGLIST_GET_SIZE| NAME=|directories|
> VR_CMD=|LOCAL:OBJECT:STRINGLIST_GET_VALUE| NAME=|directories| INDEX=|1|
> VR_CMD=|LOCAL:OBJECT:STRINGLIST_GET_VALUE| NAME=|directories| INDEX=|2|
refresh
> VR_PROC=|GetData| DIRECTORY=|dir| KEY=|Help| ENTRIES=|Topics|
> VR_CMD=|OBJECT:GET| NAME=|Topics|
> VR_CMD=|LOCAL:OBJECT:STRINGLIST_GET_SIZE| NAME=|Topics|
> VR_CMD=|LOCAL:OBJECT:STRINGLIST_GET_VALUE| NAME=|Topics| INDEX=|1|
> VR_CLOSE_SESSION=|YES|
close
refresh
hide window
)");
    EXPECT_EQ(parameters, (ParameterMap{{L"A", L"1"}, {L"B_PASSWORD", L"secret"}}));
    EXPECT_EQ(logText().find("secret"), std::string::npos);
    for (const bool perUser : {true, false}) {
        EXPECT_EQ(stored(L"Settings", L"Sdir", perUser), L"host:2000;app:dir");
        EXPECT_EQ(storedDirectories(perUser), (Entries{L"one;a:d", L"two;a:d"}));
        EXPECT_EQ(stored(L"Help", L"Main", perUser), L"http://host/help");
    }
}

TEST_F(Directory, a_directory_without_its_parameters_object_ends_the_send)
{
    library.fail("VR_CMD=|OBJECT:GET| NAME=|parameters|", unknown);
    parameters[L"KEPT"] = L"x";
    EXPECT_EQ(run(), 1);
    EXPECT_TRUE(Transcript::text().ends_with(
        "> VR_CLOSE_SESSION=|YES|\nclose\n"
        "box critical ok Cannot get parameters from directory the server.\nclose window\n"));
    EXPECT_EQ(stored(L"Settings", L"Sdir"), L"host:2000;app:dir");
    EXPECT_EQ(parameters, (ParameterMap{{L"KEPT", L"x"}}));
}

TEST_F(Directory, parameters_of_an_earlier_run_are_cleared_once_a_directory_has_answered)
{
    parameters[L"OLD"] = L"x";
    EXPECT_EQ(run(), 0);
    EXPECT_FALSE(parameters.contains(L"OLD"));
}

TEST_F(Directory, parameters_stay_when_no_directory_answers)
{
    library.fail(nop, unknown);
    parameters[L"OLD"] = L"x";
    EXPECT_EQ(run(), 1);
    EXPECT_EQ(parameters, (ParameterMap{{L"OLD", L"x"}}));
}

TEST_F(Directory, a_key_that_fails_is_left_out)
{
    setParameters({{"A", "1"}, {"B", "2"}, {"C", "3"}});
    library.fail(std::string(parameterKey) + "2|", unknown);
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(parameters, (ParameterMap{{L"A", L"1"}, {L"C", L"3"}}));
    EXPECT_EQ(boxes(), "");
}

TEST_F(Directory, a_value_that_fails_is_left_out)
{
    setParameters({{"A", "1"}, {"B", "2"}, {"C", "3"}});
    library.fail(std::string(parameterValue) + "B|", unknown);
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(parameters, (ParameterMap{{L"A", L"1"}, {L"C", L"3"}}));
}

TEST_F(Directory, a_count_that_is_no_positive_number_is_zero)
{
    for (const char *count : {"-5", "", "many"}) {
        library.answer(parameterCount, count);
        EXPECT_EQ(run(), 0);
        EXPECT_TRUE(parameters.empty());
    }
    EXPECT_EQ(Transcript::linesFrom(std::string("> ") + parameterKey), "");
}

TEST_F(Directory, entries_beyond_ten_thousand_are_ignored_and_logged)
{
    main->log.fileName.clear(); // ten thousand lines would take long
    library.answer(parameterCount, "2000000000");
    library.fail(parameterKey, unknown);
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(Transcript::count(std::string("> ") + parameterKey), 10000);
}

TEST_F(Directory, a_list_that_is_too_long_is_logged)
{
    EXPECT_EQ(RequestSession::entryCount({true, L"10000"}), 10000);
    EXPECT_EQ(logText(), "");
    EXPECT_EQ(RequestSession::entryCount({true, L"10001"}), 10000);
    EXPECT_EQ(logText(), "The list has 10001 entries, only the first 10000 are read\n");
}

TEST_F(Directory, missing_directories_leave_the_stored_ones_alone)
{
    const char *failing[] = {"VR_PROC=|GetData| DIRECTORY=|dir| KEY=|Directories| ENTRIES=|Directories|",
                             "VR_CMD=|OBJECT:GET| NAME=|directories|"};
    for (const char *command : failing) {
        Transcript::clear();
        library.fail(command, unknown, 1);
        EXPECT_EQ(run(), 0);
        EXPECT_EQ(Transcript::linesFrom("> VR_CMD=|LOCAL:OBJECT:STRINGLIST_GET_SIZE| NAME=|directories|"),
                  "");
        EXPECT_EQ(storedDirectories(true), Entries{L"host:2000;app:dir"});
        EXPECT_EQ(stored(L"Help", L"Main"), L"http://host/help");
    }
    EXPECT_EQ(boxes(), "");
}

TEST_F(Directory, no_directories_leave_the_stored_ones_alone)
{
    setList("directories", {});
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(storedDirectories(true), Entries{L"host:2000;app:dir"});
}

TEST_F(Directory, a_directory_that_cannot_be_read_is_left_out)
{
    library.fail("VR_CMD=|LOCAL:OBJECT:STRINGLIST_GET_VALUE| NAME=|directories| INDEX=|1|", unknown);
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(storedDirectories(true), Entries{L"two;a:d"});
}

TEST_F(Directory, missing_help_topics_leave_the_stored_ones_alone)
{
    VrpsSetCompanyRegistryKey(L"Help", L"Main", L"http://old/", true);
    const char *failing[] = {"VR_PROC=|GetData| DIRECTORY=|dir| KEY=|Help| ENTRIES=|Topics|",
                             "VR_CMD=|OBJECT:GET| NAME=|Topics|"};
    for (const char *command : failing) {
        library.fail(command, unknown, 1);
        EXPECT_EQ(run(), 0);
        EXPECT_EQ(stored(L"Help", L"Main"), L"http://old/");
    }
    setList("Topics", {});
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(stored(L"Help", L"Main"), L"http://old/");
}

TEST_F(Directory, a_cancelled_proxy_dialog_ends_the_send_without_a_box)
{
    writeDirectories({L"a;app:dir", L"b;app:dir"}, true);
    library.fail(nop, {"LOCAL", "REQUEST", "113"});
    user.inProxyDialog = [] { return 1; };
    EXPECT_EQ(run(), 1);
    EXPECT_EQ(servers(), Servers{"a:1082"});
    EXPECT_EQ(boxes(), "");
    EXPECT_TRUE(Transcript::text().ends_with("dialog proxy\nrefresh\nclose window\n"));
    EXPECT_TRUE(logText().ends_with("User canceled the operation\n"));
}

/// Refreshes: 1 at the entry, 2 in the connection, 3 behind it, 4 behind the parameters object, 5 behind the
/// directories, 6 behind the session.
constexpr int lastRefresh = 6;

class CancelledDirectory : public Directory, public testing::WithParamInterface<int>
{
protected:
    void cancelAndRun()
    {
        user.cancelAtRefresh(GetParam());
        EXPECT_EQ(run(), 1);
    }
};

TEST_P(CancelledDirectory, ends_the_session_and_is_told)
{
    cancelAndRun();
    EXPECT_EQ(boxes(), "box information ok Operation canceled by user.\n");
    EXPECT_TRUE(Transcript::text().ends_with("close window\n"));
    EXPECT_EQ(Transcript::count("> VR_CLOSE_SESSION=|YES|"), Transcript::count("open "));
}

TEST_P(CancelledDirectory, is_not_told_in_a_silent_run)
{
    main->silent = true;
    cancelAndRun();
    EXPECT_EQ(boxes(), "");
    EXPECT_TRUE(Transcript::text().ends_with("close window\n"));
}

TEST_P(CancelledDirectory, stores_only_what_was_read_before)
{
    cancelAndRun();
    EXPECT_EQ(stored(L"Settings", L"Sdir") != L"(absent)", GetParam() > 3);
    EXPECT_EQ(parameters.empty(), GetParam() <= 4);
    EXPECT_EQ(storedDirectories(false).empty(), GetParam() <= 4);
    EXPECT_EQ(stored(L"Help", L"Main") != L"(absent)", GetParam() > 5);
}

INSTANTIATE_TEST_SUITE_P(AtRefresh, CancelledDirectory, testing::Range(1, lastRefresh + 1));

TEST_F(Directory, the_refreshes_at_which_a_cancel_is_tested_are_all)
{
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(user.refreshCount(), lastRefresh);
}

TEST_F(Directory, a_cancel_while_connecting_is_logged)
{
    user.cancelAtRefresh(2);
    EXPECT_EQ(run(), 1);
    EXPECT_TRUE(logText().ends_with("User canceled the operation\n"));
    EXPECT_EQ(library.connections().size(), 0U);
}

TEST_F(Directory, a_silent_run_shows_no_box_when_it_fails)
{
    main->silent = true;
    library.fail("VR_CMD=|OBJECT:GET| NAME=|parameters|", unknown, 1);
    EXPECT_EQ(run(), 1);
    library.fail(nop, unknown);
    EXPECT_EQ(run(), 1);
    EXPECT_EQ(boxes(), "");
    EXPECT_EQ(Transcript::count("close window"), 2);
}

} // namespace
