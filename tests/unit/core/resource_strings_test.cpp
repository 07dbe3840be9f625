// SPDX-License-Identifier: MIT
#include "vrp/core/resource_strings.h"

#include "tests/support/FreshMain.h"
#include "tests/support/SettingsFolder.h"
#include "vrp/core/resource_table.h"
#include "vrp/platform/text.h"
#include "vrp/settings/settings_store.h"

#include <gtest/gtest.h>

namespace {

class ResourceStrings : public testing::Test
{
protected:
    SettingsFolder m_settings;
    FreshMain m_main;
    QTemporaryDir m_folder;

    void SetUp() override { useStore(L"Acme", L"Print"); }

    void useStore(const wchar_t *company, const wchar_t *software)
    {
        copyBounded(m_main->company, company);
        copyBounded(m_main->softwareName, software);
    }

    void useConfigFile(const QByteArray &content)
    {
        const QString path = m_folder.filePath(QStringLiteral("varek.ini"));
        SettingsFolder::write(path, content);
        copyBounded(m_main->configFilePath, path.toStdWString());
    }
};

TEST_F(ResourceStrings, an_empty_store_gives_the_default_text)
{
    EXPECT_EQ(VrpsLoadConfigString(L"Errors;NoFileName;No file name given."), L"No file name given.");
}

TEST_F(ResourceStrings, malformed_identifiers_never_fail)
{
    VrpsSetCompanyRegistryKey(L"Errors", L"NoFileName", L"stored", false);
    EXPECT_EQ(VrpsLoadConfigString(L"Errors;NoFileName"), L"");
    EXPECT_EQ(VrpsLoadConfigString(L"Errors"), L"");
    EXPECT_EQ(VrpsLoadConfigString(L""), L"");
    EXPECT_EQ(VrpsLoadConfigString(nullptr), L"");
    EXPECT_EQ(VrpsLoadConfigString(L";NoFileName;text"), L"");
    EXPECT_EQ(VrpsLoadConfigString(L"Errors;;text"), L"text");
    EXPECT_EQ(VrpsLoadConfigString(L"Errors;NoFileName;"), L"stored");
}

TEST_F(ResourceStrings, a_default_text_may_hold_semicolons)
{
    EXPECT_EQ(VrpsLoadConfigString(L"Printer;Driver;A.ppd; B.ppd;"), L"A.ppd; B.ppd;");
}

TEST_F(ResourceStrings, an_empty_key_touches_no_store)
{
    useConfigFile("[Errors]\n=x\n");
    EXPECT_EQ(VrpsLoadConfigString(L"Errors;;text"), L"text");
    EXPECT_EQ(m_main->configSettings, nullptr);
}

TEST_F(ResourceStrings, the_machine_wide_store_wins_over_the_default)
{
    VrpsSetCompanyRegistryKey(L"Errors", L"BadFile", L"per user", true);
    EXPECT_EQ(VrpsLoadConfigString(L"Errors;BadFile;Bad file."), L"Bad file.");
    VrpsSetCompanyRegistryKey(L"Errors", L"BadFile", L"Fichier incorrect.", false);
    EXPECT_EQ(VrpsLoadConfigString(L"Errors;BadFile;Bad file."), L"Fichier incorrect.");
}

TEST_F(ResourceStrings, an_entry_that_is_stored_empty_is_empty)
{
    VrpsSetCompanyRegistryKey(L"Messages", L"SendingFile", L"", false);
    EXPECT_EQ(VrpsLoadConfigString(L"Messages;SendingFile;Sending file..."), L"");
}

TEST_F(ResourceStrings, the_configuration_file_wins_over_the_store)
{
    VrpsSetCompanyRegistryKey(L"Errors", L"BadFile", L"stored", false);
    VrpsSetCompanyRegistryKey(L"Errors", L"BadUser", L"stored", false);
    useConfigFile("[Errors]\nBadFile=\"Datei ungültig; bitte prüfen\"\n");
    EXPECT_EQ(VrpsLoadConfigString(L"Errors;BadFile;Bad file."), L"Datei ungültig; bitte prüfen");
    EXPECT_EQ(VrpsLoadConfigString(L"Errors;BadUser;Bad user name."), L"Bad user name.");
}

TEST_F(ResourceStrings, the_configuration_file_is_opened_once_and_kept)
{
    useConfigFile("[Errors]\nBadFile=x\n");
    EXPECT_EQ(m_main->configSettings, nullptr);
    EXPECT_EQ(VrpsLoadConfigString(L"Errors;BadFile;"), L"x");
    const QSettings *const opened = m_main->configSettings;
    ASSERT_NE(opened, nullptr);
    EXPECT_EQ(VrpsLoadConfigString(L"Errors;BadUser;"), L"");
    EXPECT_EQ(m_main->configSettings, opened);
}

TEST_F(ResourceStrings, an_unquoted_value_with_commas_arrives_whole_from_the_configuration_file)
{
    useConfigFile("[DlgConfig]\nPosition=20,20\nTitle=First, second, and third\nOkText=\"a,b\"\n");
    EXPECT_EQ(VrpsLoadConfigString(L"DlgConfig;Position;"), L"20, 20");
    EXPECT_EQ(VrpsLoadConfigString(L"DlgConfig;Title;"), L"First, second, and third");
    EXPECT_EQ(VrpsLoadConfigString(L"DlgConfig;OkText;"), L"a,b");
}

TEST_F(ResourceStrings, an_unquoted_value_with_commas_arrives_whole_from_a_store)
{
    SettingsFolder::write(m_settings.file(QStringLiteral("Acme"), QStringLiteral("Print"), false),
                          "[DlgConfig]\nPosition=30,40\n");
    EXPECT_EQ(VrpsLoadConfigString(L"DlgConfig;Position;20,20"), L"30, 40");
}

TEST_F(ResourceStrings, a_missing_configuration_file_gives_the_defaults)
{
    copyBounded(m_main->configFilePath, m_folder.filePath(QStringLiteral("none.ini")).toStdWString());
    VrpsSetCompanyRegistryKey(L"Errors", L"BadFile", L"stored", false);
    EXPECT_EQ(VrpsLoadConfigString(L"Errors;BadFile;Bad file."), L"Bad file.");
}

TEST_F(ResourceStrings, a_folder_or_a_device_as_configuration_file_gives_the_defaults)
{
    for (const std::wstring &path : {m_folder.path().toStdWString(), std::wstring(L"/dev/zero")}) {
        FreshMain fresh;
        copyBounded(fresh->configFilePath, path);
        EXPECT_EQ(VrpsLoadConfigString(L"Errors;BadFile;Bad file."), L"Bad file.");
    }
}

TEST_F(ResourceStrings, a_binary_configuration_file_gives_the_defaults)
{
    QByteArray binary;
    for (int i = 0; i < 65536; ++i) {
        binary.append(static_cast<char>((i * 7919) >> 3));
    }
    useConfigFile(binary);
    EXPECT_EQ(VrpsLoadConfigString(L"Errors;BadFile;Bad file."), L"Bad file.");
}

TEST_F(ResourceStrings, a_byte_order_mark_is_no_part_of_the_first_section)
{
    useConfigFile("\xEF\xBB\xBF[Errors]\nBadFile=x\n");
    EXPECT_EQ(VrpsLoadConfigString(L"Errors;BadFile;Bad file."), L"x");
}

TEST_F(ResourceStrings, without_company_or_software_name_the_defaults_apply)
{
    for (const auto &[company, software] :
         {std::pair{L"", L""}, std::pair{L"Acme", L""}, std::pair{L"", L"Print"}}) {
        useStore(company, software);
        EXPECT_EQ(VrpsLoadConfigString(L"Errors;BadFile;Bad file."), L"Bad file.");
    }
}

TEST_F(ResourceStrings, the_installation_constants_have_their_defaults)
{
    useStore(L"", L"");
    VrpsLoadResources();
    EXPECT_STREQ(m_main->printerTitle, L"Varek Printer");
    EXPECT_STREQ(m_main->monitorName, L"Varek");
    EXPECT_STREQ(m_main->monitorDll, L"vrvpsp.dll");
    EXPECT_STREQ(m_main->monitorSrcDll, L"vrvpsp.dll");
    EXPECT_STREQ(m_main->uninstallPrgmOptions, L"-m uninstall");
    EXPECT_STREQ(m_main->serverLibraryFile, L"vrc.dll");
    EXPECT_STREQ(m_main->printerPort, L"VAREK:");
    EXPECT_STREQ(m_main->printerName, L"Varek");
    EXPECT_STREQ(m_main->printerDriver, L"HP C LaserJet 4500-PS");
    EXPECT_STREQ(m_main->printProcessor, L"WinPrint");
    EXPECT_STREQ(m_main->printerHelp, L"");
    EXPECT_STREQ(m_main->programName, L"vrp.exe");
    EXPECT_STREQ(m_main->programSource, L"vrp.exe");
    EXPECT_STREQ(m_main->company, L"Varek Systems");
    EXPECT_STREQ(m_main->softwareName, L"VarekPrint");
    EXPECT_STRNE(m_main->copyright, L"");
    EXPECT_STREQ(m_main->version, L"1.00.000");
}

TEST_F(ResourceStrings, each_installation_constant_comes_from_its_own_entry)
{
    useConfigFile("[Printer]\nTitle=t\nMonitor=m\nPort=po\nName=n\nDriver=d\nProcessor=pr\nHelp=h\nPrgm=pg\n"
                  "[Setup]\nMonitorDll=md\nMonitorSrcDll=ms\nUninstallPrgmOptions=u\nVarekDll=v\nPrgmSrc=ps\n"
                  "[Software]\nCompany=c\nName=sn\nCopyright=cr\nVersion=2.0\n");
    VrpsLoadResources();
    const VrpMain &main = *m_main;
    const std::vector<std::pair<const wchar_t *, const wchar_t *>> fields{
        {main.printerTitle, L"t"},
        {main.monitorName, L"m"},
        {main.monitorDll, L"md"},
        {main.monitorSrcDll, L"ms"},
        {main.uninstallPrgmOptions, L"u"},
        {main.serverLibraryFile, L"v"},
        {main.printerPort, L"po"},
        {main.printerName, L"n"},
        {main.printerDriver, L"d"},
        {main.printProcessor, L"pr"},
        {main.printerHelp, L"h"},
        {main.programName, L"pg"},
        {main.programSource, L"ps"},
        {main.company, L"c"},
        {main.softwareName, L"sn"},
        {main.copyright, L"cr"},
        {main.version, L"2.0"},
    };
    for (const auto &[field, value] : fields) {
        EXPECT_STREQ(field, value);
    }
}

TEST_F(ResourceStrings, a_constant_that_is_too_long_is_cut_at_its_field)
{
    useConfigFile("[Software]\nVersion=" + QByteArray(5000, '9') +
                  "\n[Printer]\nHelp=" + QByteArray(5000, 'h') + "\n");
    VrpsLoadResources();
    EXPECT_EQ(std::wstring(m_main->version), std::wstring(31, L'9'));
    EXPECT_EQ(std::wstring(m_main->printerHelp), std::wstring(2047, L'h'));
    EXPECT_STREQ(m_main->copyright,
                 resource::softwareCopyright + std::wstring_view(L"Software;Copyright;").size());
}

} // namespace
