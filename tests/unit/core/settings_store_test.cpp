// SPDX-License-Identifier: MIT
#include "vrp/settings/settings_store.h"

#include "tests/support/FreshMain.h"
#include "tests/support/SettingsFolder.h"
#include "vrp/platform/text.h"

#include <gtest/gtest.h>

namespace {

using List = std::vector<std::wstring>;

class SettingsStore : public testing::Test
{
protected:
    SettingsFolder m_settings;
    FreshMain m_main;

    void SetUp() override { useStore(L"Acme", L"Print"); }

    void useStore(const wchar_t *company, const wchar_t *software)
    {
        copyBounded(m_main->company, company);
        copyBounded(m_main->softwareName, software);
    }

    [[nodiscard]] QString file(bool perUser) const
    {
        return m_settings.file(QStringLiteral("Acme"), QStringLiteral("Print"), perUser);
    }

    static std::wstring read(const wchar_t *group, const wchar_t *name, bool perUser)
    {
        return VrpsGetCompanyRegistryKey(group, name, L"default", perUser);
    }

    static List directories(bool perUser)
    {
        List list;
        VrpsGetServerDirectoriesFromRegistry(list, perUser);
        return list;
    }
};

TEST_F(SettingsStore, a_value_is_read_back_in_its_scope)
{
    VrpsSetCompanyRegistryKey(L"Settings", L"Sdir", L"host:1082", true);
    EXPECT_EQ(read(L"Settings", L"Sdir", true), L"host:1082");
    EXPECT_TRUE(QFile::exists(file(true)));
    EXPECT_FALSE(QFile::exists(file(false)));
}

TEST_F(SettingsStore, the_scopes_are_strictly_separate)
{
    VrpsSetCompanyRegistryKey(L"Settings", L"Machine", L"m", false);
    VrpsSetCompanyRegistryKey(L"Settings", L"User", L"u", true);
    EXPECT_EQ(read(L"Settings", L"Machine", true), L"default");
    EXPECT_EQ(read(L"Settings", L"User", false), L"default");
}

TEST_F(SettingsStore, a_value_for_all_programs_of_a_company_is_not_seen)
{
    SettingsFolder::write(m_settings.folder(true) + QStringLiteral("/Acme.conf"),
                          "[Settings]\nSdir=shared\n");
    EXPECT_EQ(read(L"Settings", L"Sdir", true), L"default");
}

TEST_F(SettingsStore, an_absent_value_gives_the_default_and_a_null_default_the_empty_text)
{
    EXPECT_EQ(read(L"Settings", L"Sdir", true), L"default");
    EXPECT_EQ(VrpsGetCompanyRegistryKey(L"Settings", L"Sdir", nullptr, true), L"");
}

TEST_F(SettingsStore, reading_creates_no_file)
{
    EXPECT_EQ(read(L"Settings", L"Sdir", true), L"default");
    EXPECT_FALSE(QFile::exists(file(true)));
}

TEST_F(SettingsStore, an_empty_value_is_a_value)
{
    VrpsSetCompanyRegistryKey(L"Settings", L"Sdir", L"", true);
    EXPECT_EQ(read(L"Settings", L"Sdir", true), L"");
}

TEST_F(SettingsStore, texts_of_every_kind_survive)
{
#if QT_VERSION_MAJOR >= 6
    const std::wstring beyondLatin = L"Büro € \U0001F5A8";
#else
    const std::wstring beyondLatin = L"Büro €"; // Qt 5 loses characters above U+FFFF when it writes a file
#endif
    for (const std::wstring &text :
         {std::wstring(L"20,20"), std::wstring(L"a; b; c"), std::wstring(L"say \"hello\""),
          std::wstring(L" blanks "), std::wstring(L"line\nbreak\ttab\r"), beyondLatin,
          std::wstring(L"@Invalid()"), std::wstring(L"@ByteArray(x)"),
          std::wstring(L"back\\slash %20 [x] = #"), std::wstring(70000, L'x')}) {
        VrpsSetCompanyRegistryKey(L"Messages", L"Text", text.c_str(), false);
        EXPECT_EQ(read(L"Messages", L"Text", false), text);
    }
}

TEST_F(SettingsStore, values_at_the_top_level_have_no_group)
{
    VrpsSetCompanyRegistryKey(L"", L"Version", L"1.00.000", false);
    EXPECT_EQ(read(L"", L"Version", false), L"1.00.000");
}

TEST_F(SettingsStore, a_value_without_a_name_is_dropped_and_reads_as_the_default)
{
    VrpsSetCompanyRegistryKey(L"Settings", L"", L"x", true);
    EXPECT_EQ(read(L"Settings", L"", true), L"default");
    EXPECT_FALSE(QFile::exists(file(true)));
}

TEST_F(SettingsStore, without_company_or_software_name_reads_give_the_default_and_writes_are_dropped)
{
    for (const auto &[company, software] :
         {std::pair{L"", L""}, std::pair{L"Acme", L""}, std::pair{L"", L"Print"}}) {
        useStore(company, software);
        VrpsSetCompanyRegistryKey(L"Settings", L"Sdir", L"x", true);
        VrpsWriteServerDirectoriesToRegistry({L"a"}, true);
        VrpsWriteHelpToRegistry({L"Main=a"}, true);
        EXPECT_EQ(read(L"Settings", L"Sdir", true), L"default");
        EXPECT_TRUE(directories(true).empty());
    }
    EXPECT_TRUE(QDir(m_settings.folder(true)).isEmpty());
}

TEST_F(SettingsStore, each_call_uses_the_names_of_the_moment)
{
    VrpsSetCompanyRegistryKey(L"Settings", L"Sdir", L"one", true);
    useStore(L"Other", L"Print");
    EXPECT_EQ(read(L"Settings", L"Sdir", true), L"default");
    useStore(L"Acme", L"Print");
    EXPECT_EQ(read(L"Settings", L"Sdir", true), L"one");
}

TEST_F(SettingsStore, a_change_by_another_process_is_seen_at_the_next_read)
{
    VrpsSetCompanyRegistryKey(L"Settings", L"Sdir", L"old", true);
    SettingsFolder::write(file(true), "[Settings]\nSdir=\"changed, elsewhere\"\n");
    EXPECT_EQ(read(L"Settings", L"Sdir", true), L"changed, elsewhere");
}

TEST_F(SettingsStore, per_user_files_are_readable_by_their_owner_alone)
{
    VrpsSetCompanyRegistryKey(L"Settings", L"Password", L"x", true);
    const auto others =
        QFileDevice::ReadGroup | QFileDevice::WriteGroup | QFileDevice::ReadOther | QFileDevice::WriteOther;
    EXPECT_EQ(QFile::permissions(file(true)) & others, QFileDevice::Permissions());
}

TEST_F(SettingsStore, machine_wide_files_are_readable_by_everybody)
{
    VrpsSetCompanyRegistryKey(L"Printer", L"Title", L"x", false);
    EXPECT_TRUE(QFile::permissions(file(false)).testFlag(QFileDevice::ReadOther));
}

TEST_F(SettingsStore, a_store_that_cannot_be_written_loses_the_write_silently)
{
    // A file stands where the folder of the store would be: not even root gets past it.
    SettingsFolder::write(m_settings.folder(true) + QStringLiteral("/Acme"), "a file");
    VrpsSetCompanyRegistryKey(L"Settings", L"Sdir", L"x", true);
    VrpsWriteServerDirectoriesToRegistry({L"a"}, true);
    EXPECT_EQ(read(L"Settings", L"Sdir", true), L"default");
    EXPECT_TRUE(directories(true).empty());
}

TEST_F(SettingsStore, a_file_cut_anywhere_gives_a_stored_value_a_part_of_it_or_the_default)
{
    const QByteArray whole =
        "[Settings]\nLastMode=4\nSdir=\"host, port\"\n\n[Help]\nMain=http://example.org/\n";
    for (int length = 0; length <= whole.size(); ++length) {
        const QString company = QStringLiteral("Cut%1").arg(length);
        SettingsFolder::write(m_settings.file(company, QStringLiteral("Print"), true), whole.left(length));
        useStore(company.toStdWString().c_str(), L"Print");
        const std::wstring address = read(L"Help", L"Main", true);
        EXPECT_TRUE(address == L"default" || std::wstring(L"http://example.org/").starts_with(address))
            << length;
        VrpsSetCompanyRegistryKey(L"Settings", L"LastMode", L"2", true);
        EXPECT_EQ(VrpsGetLastModeFromRegistry(), 2) << length;
    }
}

TEST_F(SettingsStore, a_binary_file_gives_the_default_and_can_be_written_again)
{
    QByteArray binary;
    for (int i = 0; i < 10000; ++i) {
        binary.append(static_cast<char>(i * 37 + i / 256));
    }
    SettingsFolder::write(file(true), binary);
    EXPECT_EQ(read(L"Settings", L"Sdir", true), L"default");
    VrpsSetCompanyRegistryKey(L"Settings", L"Sdir", L"x", true);
    EXPECT_EQ(read(L"Settings", L"Sdir", true), L"x");
}

TEST_F(SettingsStore, a_registered_printer_gives_company_and_software_names)
{
    SettingsFolder::registerPrinter(QStringLiteral("Front desk"), QStringLiteral("Maker, Inc."),
                                    QStringLiteral("Desk"));
    EXPECT_TRUE(VrpsGetCompanyFromRegistry(L"Front desk"));
    EXPECT_STREQ(m_main->company, L"Maker, Inc.");
    EXPECT_STREQ(m_main->softwareName, L"Desk");
    EXPECT_TRUE(QFile::exists(m_settings.bootstrapFile()));
}

TEST_F(SettingsStore, an_unknown_printer_clears_both_names)
{
    EXPECT_FALSE(VrpsGetCompanyFromRegistry(L"Front desk"));
    EXPECT_STREQ(m_main->company, L"");
    EXPECT_STREQ(m_main->softwareName, L"");
}

TEST_F(SettingsStore, a_printer_with_a_company_alone_is_not_installed_and_both_names_are_overwritten)
{
    SettingsFolder::registerPrinter(QStringLiteral("Office"), QStringLiteral("Maker"), QString());
    EXPECT_FALSE(VrpsGetCompanyFromRegistry(L"Office"));
    EXPECT_STREQ(m_main->company, L"Maker");
    EXPECT_STREQ(m_main->softwareName, L"");
}

TEST_F(SettingsStore, a_printer_registered_per_user_is_not_installed)
{
    SettingsFolder::write(m_settings.file(QStringLiteral("Varek Systems"), QStringLiteral("Vrp"), true),
                          "[Printers]\nOffice\\Company=Maker\nOffice\\Software=Desk\n");
    EXPECT_FALSE(VrpsGetCompanyFromRegistry(L"Office"));
}

TEST_F(SettingsStore, a_company_name_that_is_too_long_is_cut_at_its_field)
{
    SettingsFolder::registerPrinter(QStringLiteral("Office"), QString(300, QLatin1Char('c')),
                                    QStringLiteral("Desk"));
    EXPECT_TRUE(VrpsGetCompanyFromRegistry(L"Office"));
    EXPECT_EQ(std::wstring(m_main->company), std::wstring(255, L'c'));
    EXPECT_STREQ(m_main->softwareName, L"Desk");
}

TEST_F(SettingsStore, the_last_service_is_kept_per_user)
{
    EXPECT_EQ(VrpsGetLastServiceFromRegistry(), L"");
    VrpsSetLastServiceToRegistry(L"Plotter, colour");
    EXPECT_EQ(VrpsGetLastServiceFromRegistry(), L"Plotter, colour");
    EXPECT_EQ(read(L"Settings", L"LastService", false), L"default");
}

TEST_F(SettingsStore, the_last_mode_is_read_as_a_leading_number)
{
    EXPECT_EQ(VrpsGetLastModeFromRegistry(), 0);
    VrpsSetLastModeToRegistry(4);
    EXPECT_EQ(VrpsGetLastModeFromRegistry(), 4);
    EXPECT_EQ(read(L"Settings", L"LastMode", true), L"4");
    for (const auto &[text, mode] :
         {std::pair{L"-3", 0}, std::pair{L"2abc", 2}, std::pair{L"abc", 0}, std::pair{L"", 0},
          std::pair{L" 1", 1}, std::pair{L"99999999999", 2147483647}}) {
        VrpsSetCompanyRegistryKey(L"Settings", L"LastMode", text, true);
        EXPECT_EQ(VrpsGetLastModeFromRegistry(), mode);
    }
}

TEST_F(SettingsStore, server_directories_are_numbered_from_one)
{
    VrpsWriteServerDirectoriesToRegistry({L"a:1", L"", L"c:3"}, false);
    EXPECT_EQ(read(L"ServerDirectories", L"Sdir1", false), L"a:1");
    EXPECT_EQ(read(L"ServerDirectories", L"Sdir2", false), L"");
    EXPECT_EQ(read(L"ServerDirectories", L"Sdir3", false), L"c:3");
    EXPECT_EQ(read(L"ServerDirectories", L"Sdir4", false), L"default");
}

TEST_F(SettingsStore, an_empty_server_directory_is_skipped_and_a_missing_one_ends_the_list)
{
    VrpsWriteServerDirectoriesToRegistry({L"a", L"", L"c"}, true);
    EXPECT_EQ(directories(true), (List{L"a", L"c"}));
    SettingsFolder::write(file(true), "[ServerDirectories]\nSdir1=first\nSdir3=third\n");
    EXPECT_EQ(directories(true), List{L"first"});
}

TEST_F(SettingsStore, server_directories_are_appended_to_the_list_with_duplicates)
{
    VrpsWriteServerDirectoriesToRegistry({L"a", L"b"}, true);
    VrpsWriteServerDirectoriesToRegistry({L"b"}, false);
    List list{L"a"};
    VrpsGetServerDirectoriesFromRegistry(list, true);
    VrpsGetServerDirectoriesFromRegistry(list, false);
    EXPECT_EQ(list, (List{L"a", L"a", L"b", L"b"}));
}

TEST_F(SettingsStore, a_directory_named_like_the_end_mark_ends_the_list)
{
    VrpsWriteServerDirectoriesToRegistry({L"NoEntry", L"b"}, true);
    EXPECT_TRUE(directories(true).empty());
}

TEST_F(SettingsStore, a_shorter_list_leaves_nothing_of_the_longer_one)
{
    VrpsWriteServerDirectoriesToRegistry({L"a", L"b", L"c"}, true);
    VrpsWriteServerDirectoriesToRegistry({L"d"}, true);
    EXPECT_EQ(directories(true), List{L"d"});
    EXPECT_EQ(read(L"ServerDirectories", L"Sdir3", true), L"default");
}

TEST_F(SettingsStore, an_empty_list_removes_the_group_of_that_scope_alone)
{
    VrpsSetCompanyRegistryKey(L"Settings", L"Sdir", L"x", true);
    VrpsWriteServerDirectoriesToRegistry({L"a"}, true);
    VrpsWriteServerDirectoriesToRegistry({L"a"}, false);
    VrpsWriteServerDirectoriesToRegistry({}, true);
    EXPECT_FALSE(openCompanyStore(true)->childGroups().contains(QStringLiteral("ServerDirectories")));
    EXPECT_EQ(directories(false), List{L"a"});
    EXPECT_EQ(read(L"Settings", L"Sdir", true), L"x");
}

TEST_F(SettingsStore, help_topics_lose_every_blank_and_what_is_no_entry_is_skipped)
{
    VrpsWriteHelpToRegistry(
        {L" Dlg Config = some page ", L"=x", L" =y", L"no address", L"Main=http://a/?b=c", L"Empty="}, true);
    EXPECT_EQ(read(L"Help", L"DlgConfig", true), L"somepage");
    EXPECT_EQ(read(L"Help", L"Main", true), L"http://a/?b=c");
    EXPECT_EQ(read(L"Help", L"Empty", true), L"");
    const auto store = openCompanyStore(true);
    store->beginGroup(QStringLiteral("Help"));
    EXPECT_EQ(store->childKeys().size(), 3);
}

TEST_F(SettingsStore, a_help_topic_that_is_no_longer_sent_disappears)
{
    VrpsWriteHelpToRegistry({L"Main=a", L"DlgIdent=b"}, true);
    VrpsWriteHelpToRegistry({L"Main=c"}, true);
    EXPECT_EQ(read(L"Help", L"Main", true), L"c");
    EXPECT_EQ(read(L"Help", L"DlgIdent", true), L"default");
}

TEST_F(SettingsStore, the_last_directory_server_is_the_users_or_the_machines)
{
    EXPECT_EQ(lastServerDirectory(), L"");
    VrpsSetCompanyRegistryKey(settingsGroup, setting::lastDirectory, L"machine;x:y", false);
    EXPECT_EQ(lastServerDirectory(), L"machine;x:y");
    VrpsSetCompanyRegistryKey(settingsGroup, setting::lastDirectory, L"user;x:y", true);
    EXPECT_EQ(lastServerDirectory(), L"user;x:y");
}

TEST_F(SettingsStore, a_two_scope_lookup_prefers_the_user_and_takes_the_machine_when_that_is_empty)
{
    EXPECT_EQ(helpAddress(L"Main"), L"");
    VrpsSetCompanyRegistryKey(L"Help", L"Main", L"machine", false);
    EXPECT_EQ(helpAddress(L"Main"), L"machine");
    VrpsSetCompanyRegistryKey(L"Help", L"Main", L"", true);
    EXPECT_EQ(helpAddress(L"Main"), L"machine");
    VrpsSetCompanyRegistryKey(L"Help", L"Main", L"user", true);
    EXPECT_EQ(helpAddress(L"Main"), L"user");
}

} // namespace
