// SPDX-License-Identifier: MIT
#include "tests/unit/server/DirectoryTest.h"

namespace {

const ScriptedLibrary::Error unknown{"SYSTEM", "OBJECT", "1"};
constexpr char nop[] = "VR_CMD=|MISC:NOP|";
constexpr char getSettings[] = "VR_PROC=|GetData| DIRECTORY=|dir| KEY=|Settings| ENTRIES=|Parameters|";

using Directory = DirectoryTest;

TEST_F(Directory, the_last_directory_that_answered_comes_first_then_the_users_list_then_the_machines)
{
    library.fail(nop, {"SYSTEM", "SECURITY", "101"});
    VrpsSetCompanyRegistryKey(L"Settings", L"Sdir", L"last;app:dir", true);
    writeDirectories({L"user1;app:dir", L"user2;app:dir"}, true);
    writeDirectories({L"machine;app:dir", L"user1;app:dir"}, false);
    run();
    EXPECT_EQ(servers(), (Servers{"last:1082", "user1:1082", "user2:1082", "machine:1082", "user1:1082"}));
}

TEST_F(Directory, the_machines_last_directory_is_used_when_the_user_has_none)
{
    VrpsSetCompanyRegistryKey(L"Settings", L"Sdir", L"last;app:dir", false);
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(servers(), Servers{"last:1082"});
}

TEST_F(Directory, without_any_directory_the_server_cannot_be_connected)
{
    writeDirectories({}, true);
    EXPECT_EQ(run(), 1);
    EXPECT_EQ(Transcript::text(), "window Connecting the directory... -1\nwindow on top\nrefresh\n"
                                  "box critical ok Cannot connect the server.\nclose window\n");
}

TEST_F(Directory, the_port_of_an_entry_is_kept_for_the_entries_behind_it)
{
    library.fail(nop, {"SYSTEM", "SECURITY", "101"});
    writeDirectories({L"a:2000;app:dir", L"b;app:dir", L"c:3000;app:dir"}, true);
    run();
    EXPECT_EQ(servers(), (Servers{"a:2000", "b:2000", "c:3000"}));
}

TEST_F(Directory, an_entry_without_a_directory_part_is_skipped)
{
    writeDirectories({L"a;app", L"b;app:dir"}, true);
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(servers(), Servers{"b:1082"});
    EXPECT_TRUE(Transcript::text().starts_with(
        "window Connecting the directory... -1\nwindow on top\nrefresh\nrefresh\nrefresh\nopen "))
        << "the window is served for each entry, and in the connection";
}

TEST_F(Directory, an_entry_without_a_directory_part_takes_that_of_an_earlier_one)
{
    library.fail(nop, {"SYSTEM", "SECURITY", "101"}, 1);
    writeDirectories({L"a;app:dir", L"b;app"}, true);
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(servers(), (Servers{"a:1082", "b:1082"}));
    EXPECT_EQ(stored(L"Settings", L"Sdir"), L"b;app");
}

TEST_F(Directory, an_unreachable_directory_is_tried_twice_and_then_the_next)
{
    writeDirectories({L"a;app:dir", L"b;app:dir"}, true);
    library.fail(nop, {"SYSTEM", "OTHER", "1"}, 2);
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(servers(), (Servers{"a:1082", "a:1082", "b:1082"}));
    EXPECT_EQ(stored(L"Settings", L"Sdir"), L"b;app:dir");
}

struct RefusalCase
{
    const char *code;
    const char *logLine;
};

TEST_F(Directory, a_refused_user_or_password_is_logged_and_the_next_entry_is_tried)
{
    for (const RefusalCase &each : {RefusalCase{"101", "Bad user\n"}, RefusalCase{"103", "Bad password\n"}}) {
        writeDirectories({L"a;app:dir", L"b;app:dir"}, true);
        library.fail(nop, {"SYSTEM", "SECURITY", each.code}, 1);
        VrpsSetCompanyRegistryKey(L"Settings", L"Sdir", L"", true);
        VrpsSetCompanyRegistryKey(L"Settings", L"Sdir", L"", false);
        writeDirectories({}, false);
        EXPECT_EQ(run(), 0);
        EXPECT_NE(logText().find(each.logLine), std::string::npos);
    }
    EXPECT_EQ(boxes(), "");
    EXPECT_EQ(servers(), (Servers{"a:1082", "b:1082", "a:1082", "b:1082"}));
}

TEST_F(Directory, when_every_entry_refuses_the_server_cannot_be_connected)
{
    for (const char *code : {"101", "103", "999"}) {
        Transcript::clear();
        library.fail(nop, {"SYSTEM", "SECURITY", code});
        EXPECT_EQ(run(), 1);
        EXPECT_EQ(boxes(), "box critical ok Cannot connect the server.\n");
        EXPECT_TRUE(Transcript::text().ends_with("close window\n"));
    }
}

TEST_F(Directory, a_directory_whose_data_cannot_be_had_is_left_for_the_next)
{
    writeDirectories({L"a;app:dir", L"b;app:dir"}, true);
    library.fail(getSettings, unknown, 1);
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(servers(), (Servers{"a:1082", "b:1082"}));
    EXPECT_NE(Transcript::text().find("> VR_CLOSE_SESSION=|YES|\nclose\nrefresh\nrefresh\nopen "),
              std::string::npos);
}

} // namespace
