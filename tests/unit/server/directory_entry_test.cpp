// SPDX-License-Identifier: MIT
#include "vrp/server/directory_entry.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

std::wstring shown(const DirectoryAddress &address)
{
    return address.server + L"|" + std::to_wstring(address.port) + L"|" + address.application + L"|" +
           address.directory;
}

struct EntryCase
{
    const char *name;
    std::vector<std::wstring> entries;
    const wchar_t *address; ///< after the last entry: server|port|application|directory
};

TEST(DirectoryEntry, an_entry_sets_what_it_has_and_the_rest_stays)
{
    const EntryCase cases[] = {
        {"whole", {L"host:2000;app:dir"}, L"host|2000|app|dir"},
        {"without a port", {L"host;app:dir"}, L"host|1082|app|dir"},
        {"a port stays for the entries behind it", {L"a:2000;app:dir", L"b;app2:dir2"}, L"b|2000|app2|dir2"},
        {"without a directory", {L"host;app"}, L"host|1082|app|"},
        {"a directory stays", {L"a;app:dir", L"b;app2"}, L"b|1082|app2|dir"},
        {"without a semicolon", {L"host:2000"}, L"|1082||"},
        {"without a semicolon all stays", {L"a:2000;app:dir", L"b:3000"}, L"a|2000|app|dir"},
        {"split at the first semicolon and colons", {L"h:1:2;a:d:e;f"}, L"h|1|a|d:e;f"},
        {"an empty port", {L"a:2000;app:dir", L"b:;app:dir"}, L"b|2000|app|dir"},
        {"a port that is no number", {L"a:x;app:dir"}, L"a|0|app|dir"},
        {"an empty directory", {L"a;app:dir", L"b;app:"}, L"b|1082|app|"},
        {"an empty entry", {L""}, L"|1082||"},
    };
    for (const EntryCase &each : cases) {
        DirectoryAddress address;
        for (const std::wstring &entry : each.entries) {
            takeDirectoryEntry(entry, address);
        }
        EXPECT_EQ(shown(address), each.address) << each.name;
    }
}

TEST(DirectoryEntry, an_address_needs_server_application_and_directory)
{
    EXPECT_TRUE((DirectoryAddress{L"h", 1082, L"a", L"d"}.isComplete()));
    EXPECT_FALSE((DirectoryAddress{L"", 1082, L"a", L"d"}.isComplete()));
    EXPECT_FALSE((DirectoryAddress{L"h", 1082, L"", L"d"}.isComplete()));
    EXPECT_FALSE((DirectoryAddress{L"h", 1082, L"a", L""}.isComplete()));
}

} // namespace
