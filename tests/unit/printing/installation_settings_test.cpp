// SPDX-License-Identifier: MIT
#include "vrp/settings/installation_settings.h"

#include "tests/unit/printing/Workshop.h"
#include "vrp/core/resource_strings.h"
#include "vrp/core/resource_table.h"
#include "vrp/platform/text.h"
#include "vrp/settings/settings_store.h"

#include <gmock/gmock.h>

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

class InstallationSettings : public testing::Test
{
protected:
    InstallationSettings() { useNames(L"Office", L"Acme", L"Print"); }

    void useNames(const wchar_t *printer, const wchar_t *company, const wchar_t *software)
    {
        copyBounded(m_shop.main->printerName, printer);
        copyBounded(m_shop.main->company, company);
        copyBounded(m_shop.main->softwareName, software);
        copyBounded(m_shop.main->copyright, L"(c) Acme");
        copyBounded(m_shop.main->version, L"2.00.001");
        copyBounded(m_shop.main->installSourceDir, L"/opt/acme");
    }

    void useConfigFile(const std::string &content)
    {
        writeText(m_shop.configFile(), content);
        copyBounded(m_shop.main->configFilePath, UTF8tow(m_shop.configFile()));
        delete m_shop.main->configSettings;
        m_shop.main->configSettings = nullptr;
    }

    static std::vector<std::wstring> directories(bool perUser)
    {
        std::vector<std::wstring> list;
        VrpsGetServerDirectoriesFromRegistry(list, perUser);
        return list;
    }

    [[nodiscard]] std::string machineFolder(const std::string &name = {}) const
    {
        return m_shop.settings.folder(false).toStdString() + "/" + name;
    }

    static bool hasPrintersGroup()
    {
        return openBootstrapStore()->childGroups().contains(QStringLiteral("Printers"));
    }

    /// Whether a store file holds every resource. It is read under another name, since the toolkit keeps what
    /// it wrote in memory.
    bool isComplete(const std::string &file) const
    {
        const std::string copy = m_shop.target("copy.conf");
        writeText(copy, textOf(file));
        QSettings store(QString::fromStdString(copy), QSettings::IniFormat);
        store.sync();
        return std::all_of(
            std::begin(resource::installed), std::end(resource::installed), [&](const wchar_t *id) {
                const auto fields = splitResourceId(id);
                return store.contains(QString::fromStdWString(fields->section + L"/" + fields->key));
            });
    }

    Workshop m_shop;
};

} // namespace

TEST_F(InstallationSettings, register_the_printer_and_stamp_the_company_store)
{
    EXPECT_TRUE(VrpsInstallSetRegistry());
    EXPECT_EQ(Workshop::registered("Office", "Company"), "Acme");
    EXPECT_EQ(Workshop::registered("Office", "Software"), "Print");
    EXPECT_EQ(Workshop::stored("Copyright"), "(c) Acme");
    EXPECT_EQ(Workshop::stored("Version"), "2.00.001");
    EXPECT_EQ(Workshop::stored("Printer/InstallDir"), "/opt/acme");
}

TEST_F(InstallationSettings, every_default_text_is_copied_without_a_configuration_file)
{
    EXPECT_TRUE(VrpsInstallSetRegistry());
    for (const wchar_t *id : resource::installed) {
        const auto fields = splitResourceId(id);
        ASSERT_TRUE(fields);
        EXPECT_EQ(Workshop::stored(wtoUTF8(fields->section + L"/" + fields->key)),
                  wtoUTF8(fields->defaultText));
    }
    EXPECT_EQ(Workshop::stored("Setup/InstallOk"), "(none)"); // only installation itself needs it
    EXPECT_EQ(Workshop::stored("Setup/MonitorSrcDll"), "(none)");
}

TEST_F(InstallationSettings, the_table_is_copied_in_its_order)
{
    const auto position = [](const wchar_t *id) {
        return std::find(std::begin(resource::installed), std::end(resource::installed), id) -
               std::begin(resource::installed);
    };
    EXPECT_EQ(std::size(resource::installed), 138U);
    EXPECT_EQ(position(resource::softwareName), 0);
    EXPECT_EQ(position(resource::setupMonitorDll), position(resource::printerHelp) + 1);
    EXPECT_EQ(resource::beforeInstallDir, resource::printerHelp);
    EXPECT_EQ(position(resource::helpDlgConfig), 137);
}

TEST_F(InstallationSettings, texts_come_from_the_configuration_file)
{
    useConfigFile("[Software]\nName=\"Other\"\n[Errors]\nBadFile=\"Schlechte Datei \xC3\xBC\"\nBadUser=\n"
                  "[DlgIdent]\nPosition=30,40\n[MessageWindow]\nWidht=\"500\"\n"
                  "[DlgUpdate]\nMessageText=\"One; two\"\n");
    EXPECT_TRUE(VrpsInstallSetRegistry());
    EXPECT_EQ(Workshop::stored("Software/Name"), "Other");
    EXPECT_EQ(Workshop::stored("Errors/BadFile"), "Schlechte Datei \xC3\xBC");
    EXPECT_EQ(Workshop::stored("Errors/BadUser"), "");
    EXPECT_EQ(Workshop::stored("Errors/BadPassword"), "Bad password.");
    EXPECT_EQ(Workshop::stored("DlgIdent/Position"), "30, 40");
    EXPECT_EQ(Workshop::stored("MessageWindow/Widht"), "500");
    EXPECT_EQ(Workshop::stored("DlgUpdate/MessageText"), "One; two");
}

TEST_F(InstallationSettings, a_configuration_file_that_cannot_be_read_gives_the_default_texts)
{
    copyBounded(m_shop.main->configFilePath, UTF8tow(m_shop.target("missing.ini")));
    EXPECT_TRUE(VrpsInstallSetRegistry());
    EXPECT_EQ(Workshop::stored("Errors/BadFile"), "Bad file.");
    EXPECT_FALSE(fs::exists(m_shop.target("missing.ini")));
}

TEST_F(InstallationSettings, one_resource_is_copied_whatever_its_fields)
{
    useConfigFile("[Errors]\nBadFile=\"from the file\"\n");
    VrpsSetCompanyRegistryKeyFromConfigFile(L"Errors;BadFile;Bad file.");
    VrpsSetCompanyRegistryKeyFromConfigFile(L"Errors;Absent;a;b; c");
    VrpsSetCompanyRegistryKeyFromConfigFile(L";BadFile;top level");
    VrpsSetCompanyRegistryKeyFromConfigFile(L"Errors;;no key");
    VrpsSetCompanyRegistryKeyFromConfigFile(L"Errors;OnlyTwoFields");
    EXPECT_EQ(Workshop::stored("Errors/BadFile"), "from the file");
    EXPECT_EQ(Workshop::stored("Errors/Absent"), "a;b; c");
    EXPECT_EQ(Workshop::stored("BadFile"), "top level");
    EXPECT_EQ(openStore(L"Acme", L"Print", false)->allKeys().size(), 3);
}

TEST_F(InstallationSettings, an_empty_directory_server_is_skipped)
{
    useConfigFile("[ServerDirectories]\nSdir1=\"a:1;x:y\"\nSdir2=\nSdir3=\"c:3;x:y\"\nSdir5=\"e:5;x:y\"\n");
    EXPECT_TRUE(VrpsInstallSetRegistry());
    EXPECT_THAT(directories(false), ElementsAre(L"a:1;x:y", L"c:3;x:y"));
    EXPECT_THAT(directories(true), ElementsAre(L"a:1;x:y", L"c:3;x:y"));
}

TEST_F(InstallationSettings, a_missing_directory_server_ends_the_list)
{
    useConfigFile("[ServerDirectories]\nSdir1=\"a:1;x:y\"\nSdir3=\"c:3;x:y\"\n");
    EXPECT_TRUE(VrpsInstallSetRegistry());
    EXPECT_THAT(directories(false), ElementsAre(L"a:1;x:y"));
}

TEST_F(InstallationSettings, no_directory_server_removes_those_of_before)
{
    VrpsWriteServerDirectoriesToRegistry({L"old:1;x:y"}, false);
    VrpsWriteServerDirectoriesToRegistry({L"old:1;x:y"}, true);
    useConfigFile("[Software]\nCompany=Acme\n");
    EXPECT_TRUE(VrpsInstallSetRegistry());
    EXPECT_THAT(directories(false), IsEmpty());
    EXPECT_THAT(directories(true), IsEmpty());
}

TEST_F(InstallationSettings, without_a_configuration_file_the_stored_directory_servers_stay)
{
    VrpsWriteServerDirectoriesToRegistry({L"old:1;x:y"}, false);
    EXPECT_TRUE(VrpsInstallSetRegistry());
    EXPECT_THAT(directories(false), ElementsAre(L"old:1;x:y"));
    EXPECT_THAT(directories(true), ElementsAre(L"old:1;x:y"));
}

TEST_F(InstallationSettings, a_directory_server_that_was_cut_off_at_its_semicolon_is_warned_of)
{
    useConfigFile("[ServerDirectories]\nSdir1=print.example.com:1082;directory:demo\nSdir2=\"b:2;x:y\"\n");
    testing::internal::CaptureStderr();
    EXPECT_TRUE(VrpsInstallSetRegistry());
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "vrp: the directory server 'print.example.com:1082' "
                                                      "has no ';': a value of an INI file that holds one "
                                                      "must be quoted\n");
}

TEST_F(InstallationSettings, a_second_installation_overwrites_the_first)
{
    EXPECT_TRUE(VrpsInstallSetRegistry());
    useNames(L"Office", L"Other", L"Print2");
    EXPECT_TRUE(VrpsInstallSetRegistry());
    EXPECT_EQ(Workshop::registered("Office", "Company"), "Other");
    EXPECT_EQ(Workshop::registered("Office", "Software"), "Print2");
}

TEST_F(InstallationSettings, a_bootstrap_store_that_cannot_be_written_fails_before_anything_else)
{
    writeText(machineFolder("Varek Systems"), "a file where the folder should be");
    EXPECT_FALSE(VrpsInstallSetRegistry());
    EXPECT_FALSE(fs::exists(machineFolder("Acme")));
    EXPECT_FALSE(VrpsInstallRemoveRegistry());
}

TEST_F(InstallationSettings, a_company_store_that_cannot_be_written_leaves_the_printer_registered)
{
    writeText(machineFolder("Acme"), "a file where the folder should be");
    EXPECT_FALSE(VrpsInstallSetRegistry());
    EXPECT_EQ(Workshop::registered("Office", "Company"), "Acme");
}

TEST_F(InstallationSettings, an_empty_company_or_software_name_has_no_store)
{
    useNames(L"Office", L"Acme", L"");
    EXPECT_FALSE(VrpsInstallSetRegistry());
    useNames(L"Office", L"", L"Print");
    EXPECT_FALSE(VrpsInstallSetRegistry());
}

TEST_F(InstallationSettings, a_read_only_disk_fails)
{
    const SmallDisk disk(machineFolder(), 64);
    disk.makeReadOnly();
    EXPECT_FALSE(VrpsInstallSetRegistry());
    EXPECT_FALSE(VrpsInstallRemoveRegistry());
}

TEST_F(InstallationSettings, a_full_disk_fails_wherever_it_fills_up)
{
    constexpr int enoughPages = 32;
    int successes = 0;
    for (int freePages = 0; freePages <= enoughPages; ++freePages) {
        const std::wstring company = L"Disk" + std::to_wstring(freePages);
        useNames(L"Office", company.c_str(), L"Print");
        const SmallDisk disk(machineFolder(), 256);
        disk.fill(freePages * 4096);
        const bool succeeded = VrpsInstallSetRegistry();
        EXPECT_EQ(succeeded, isComplete(machineFolder(wtoUTF8(company) + "/Print.conf"))) << freePages;
        successes += succeeded ? 1 : 0;
    }
    EXPECT_GT(successes, 0);
    EXPECT_LT(successes, enoughPages);
}

TEST_F(InstallationSettings, a_disk_that_fills_up_costs_no_printer_its_registration)
{
    for (int freePages = 0; freePages <= 4; ++freePages) {
        const SmallDisk disk(machineFolder(), 256);
        useNames(L"Office", L"Acme", L"Print");
        ASSERT_TRUE(VrpsInstallSetRegistry());
        disk.fill(freePages * 4096);
        useNames(L"Second", L"Other", L"Print");
        static_cast<void>(VrpsInstallSetRegistry());
        // Not asked of the toolkit, which keeps in memory what it could not write.
        EXPECT_THAT(textOf(machineFolder("Varek Systems/Vrp.conf")), HasSubstr("Office\\Company=Acme\n"))
            << freePages;
        EXPECT_FALSE(fs::exists(machineFolder("Varek Systems/Vrp.conf.kept")));
    }
}

TEST_F(InstallationSettings, a_value_that_does_not_fit_on_the_disk_leaves_the_others)
{
    const std::wstring longer(5000, L'x');
    const SmallDisk disk(machineFolder(), 64);
    VrpsSetCompanyRegistryKey(L"Settings", L"First", L"kept", false);
    disk.fill();
    VrpsSetCompanyRegistryKey(L"Settings", L"Second", longer.c_str(), false);
    EXPECT_EQ(textOf(machineFolder("Acme/Print.conf")), "[Settings]\nFirst=kept\n");
}

TEST_F(InstallationSettings, removal_empties_both_machine_wide_entries_and_keeps_the_users)
{
    useConfigFile("[ServerDirectories]\nSdir1=\"a:1;x:y\"\n");
    EXPECT_TRUE(VrpsInstallSetRegistry());
    EXPECT_TRUE(VrpsInstallRemoveRegistry());
    EXPECT_FALSE(hasPrintersGroup());
    EXPECT_THAT(openStore(L"Acme", L"Print", false)->allKeys(), IsEmpty());
    EXPECT_THAT(directories(true), ElementsAre(L"a:1;x:y"));
}

TEST_F(InstallationSettings, removing_one_of_two_printers_leaves_the_other)
{
    EXPECT_TRUE(VrpsInstallSetRegistry());
    useNames(L"Second", L"Other", L"Print");
    EXPECT_TRUE(VrpsInstallSetRegistry());
    EXPECT_TRUE(VrpsInstallRemoveRegistry());
    EXPECT_EQ(Workshop::registered("Office", "Company"), "Acme");
    EXPECT_EQ(Workshop::registered("Second", "Company"), "(none)");
    EXPECT_EQ(Workshop::stored("Version"), "2.00.001");
    useNames(L"Office", L"", L"");
    EXPECT_TRUE(VrpsInstallRemoveRegistry());
    EXPECT_FALSE(hasPrintersGroup());
}

TEST_F(InstallationSettings, a_printer_without_an_entry_leaves_nothing_to_remove)
{
    EXPECT_TRUE(VrpsInstallSetRegistry());
    for (const wchar_t *name : {L"Unknown", L""}) {
        copyBounded(m_shop.main->printerName, name);
        EXPECT_TRUE(VrpsInstallRemoveRegistry());
    }
    EXPECT_EQ(Workshop::registered("Office", "Company"), "Acme");
    EXPECT_EQ(Workshop::stored("Version"), "2.00.001");
}

TEST_F(InstallationSettings, an_entry_without_its_software_name_is_removed_and_empties_no_store)
{
    EXPECT_TRUE(VrpsInstallSetRegistry());
    openBootstrapStore()->remove(QStringLiteral("Printers/Office/Software"));
    EXPECT_TRUE(VrpsInstallRemoveRegistry());
    EXPECT_FALSE(hasPrintersGroup());
    EXPECT_EQ(Workshop::stored("Version"), "2.00.001");
}
