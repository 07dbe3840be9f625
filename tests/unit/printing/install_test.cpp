// SPDX-License-Identifier: MIT
#include "vrp/platform/install.h"

#include "tests/unit/printing/InstallTest.h"

#include <gmock/gmock.h>

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Install = InstallTest;

const Box installQuestion{"Setup;IntroInstall;Do you want to install the Varek printer ?", iconQuestion,
                          buttonYes | buttonNo};
const Box installed{"Setup;InstallOk;Installation successful.", iconInformation, buttonOk};
const std::string addPrinterFailed = "SetupErrors;AddPrinterFailed;AddPrinter() failed. Error = %d.";

} // namespace

TEST_F(Install, asks_installs_and_reports)
{
    EXPECT_TRUE(VrpsInstall());
    EXPECT_THAT(m_shop.boxes.shown, ElementsAre(installQuestion, installed));
    auto expected = copyCommands();
    expected.push_back(addCommand("A.ppd"));
    EXPECT_EQ(m_shop.commands(), expected);
    EXPECT_EQ(textOf(m_shop.target("vrp")), "the program\n");
    EXPECT_EQ(permissionsOf(Workshop::backend("varek")), 0700U);
    EXPECT_EQ(Workshop::registered("Office", "Company"), "Acme");
    EXPECT_EQ(Workshop::stored("Printer/Title"), "Office printer");
    EXPECT_EQ(Workshop::stored("Printer/InstallDir") + "/", m_shop.target());
    EXPECT_TRUE(fs::exists(m_shop.configFile()));
}

TEST_F(Install, the_success_is_reported_when_everything_is_in_place)
{
    setOptions({L"-r"});
    std::vector<std::string> versions;
    m_shop.boxes.whileShown = [&] {
        versions.push_back(Workshop::stored("Software/Version"));
        EXPECT_EQ(fs::exists(m_shop.configFile()), versions.size() == 1);
    };
    EXPECT_TRUE(VrpsInstall());
    EXPECT_THAT(versions, ElementsAre("(none)", "1.00.000")); // question and success
}

TEST_F(Install, declining_the_question_changes_nothing)
{
    for (const int answer : {int{buttonNo}, 0, int{buttonOk}, int{buttonYes | buttonNo}}) {
        m_shop.boxes.answer = answer;
        m_shop.boxes.shown.clear();
        EXPECT_TRUE(VrpsInstall());
        EXPECT_THAT(m_shop.boxes.shown, ElementsAre(installQuestion));
        EXPECT_THAT(m_shop.commands(), IsEmpty());
        EXPECT_FALSE(fs::exists(m_shop.target("vrp")));
        EXPECT_EQ(Workshop::registered("Office", "Company"), "(none)");
    }
}

TEST_F(Install, a_quiet_run_replaces_an_installed_printer_without_any_box)
{
    m_shop.main->noConfirm = true;
    m_shop.printers.names = {L"Office"};
    EXPECT_TRUE(VrpsInstall());
    EXPECT_THAT(m_shop.boxes.shown, IsEmpty());
    EXPECT_EQ(m_shop.commands().front(), "lpadmin [-x] [Office]");
    EXPECT_EQ(m_shop.commands().back(), addCommand("A.ppd"));
}

TEST_F(Install, the_next_driver_is_tried_when_one_gives_no_queue)
{
    m_shop.failCommand(4);
    EXPECT_TRUE(VrpsInstall());
    auto expected = copyCommands();
    expected.push_back(addCommand("A.ppd"));
    expected.push_back(addCommand("B.ppd"));
    EXPECT_EQ(m_shop.commands(), expected);
    EXPECT_THAT(m_shop.boxes.shown, ElementsAre(installQuestion, installed));
}

TEST_F(Install, no_driver_that_gives_a_queue_is_an_error)
{
    m_shop.failCommand(4);
    m_shop.failCommand(5);
    EXPECT_FALSE(VrpsInstall());
    ASSERT_EQ(m_shop.boxes.shown.size(), 2U);
    EXPECT_EQ(m_shop.boxes.shown[1].text, addPrinterFailed);
    EXPECT_EQ(Workshop::registered("Office", "Company"), "(none)");
    EXPECT_TRUE(fs::exists(m_shop.target("vrp"))); // what was done stays
}

TEST_F(Install, a_silent_run_shows_no_error)
{
    m_shop.main->silent = true;
    m_shop.main->noConfirm = true;
    m_shop.failCommand(4);
    m_shop.failCommand(5);
    EXPECT_FALSE(VrpsInstall());
    EXPECT_THAT(m_shop.boxes.shown, IsEmpty());
}

TEST_F(Install, the_driver_list_is_taken_apart)
{
    const struct
    {
        std::string list;
        std::vector<std::string> drivers;
    } cases[] = {
        {"A.ppd", {"A.ppd"}},
        {"  A   b.ppd ;;C.ppd;", {"A b.ppd", "", "C.ppd"}},
        {";A.ppd", {"", "A.ppd"}},
        {" ", {""}},
    };

    for (const auto &c : cases) {
        Workshop shop;
        shop.main->noConfirm = true;
        shop.main->silent = true;
        std::string ini = textOf(shop.configFile());
        ini.replace(ini.find("A.ppd; B.ppd"), 12, c.list);
        writeText(shop.configFile(), ini);
        for (std::size_t i = 4; i < 10; ++i) {
            shop.failCommand(i);
        }
        Workshop::setInstallArguments({L"-c", UTF8tow(shop.configFile()), L"-d", UTF8tow(shop.target())});
        EXPECT_FALSE(VrpsInstall());
        std::vector<std::string> expected;
        for (const std::string &driver : c.drivers) {
            expected.push_back("lpadmin [-p] [Office] [-E] [-v] [varek:127.0.0.1] [-P] [" +
                               shop.program(driver) + "] [-D] [Office]");
        }
        auto commands = shop.commands();
        commands.erase(commands.begin(), commands.begin() + 3);
        EXPECT_EQ(commands, expected) << c.list;
    }
}

TEST_F(Install, an_empty_driver_list_creates_no_queue)
{
    writeText(m_shop.configFile(), textOf(m_shop.configFile()) + "[Printer]\nDriver=\"\"\n");
    EXPECT_FALSE(VrpsInstall());
    EXPECT_EQ(m_shop.commands(), copyCommands());
    EXPECT_EQ(m_shop.boxes.shown.back().text, addPrinterFailed);
}

TEST_F(Install, each_failing_command_ends_it_without_a_message)
{
    for (std::size_t failing = 1; failing <= 4; ++failing) {
        SCOPED_TRACE(failing);
        Workshop shop;
        shop.printers.names = {L"Office"};
        shop.failCommand(failing);
        Workshop::setInstallArguments({L"-c", UTF8tow(shop.configFile()), L"-d", UTF8tow(shop.target())});
        EXPECT_FALSE(VrpsInstall());
        EXPECT_THAT(shop.boxes.shown, ElementsAre(installQuestion));
        EXPECT_EQ(shop.commands().size(), failing);
        EXPECT_EQ(Workshop::registered("Office", "Company"), "(none)");
    }
}

TEST_F(Install, a_failed_copy_is_shown_by_the_copy_alone)
{
    fs::remove(m_shop.program("backend.new"));
    EXPECT_FALSE(VrpsInstall());
    EXPECT_EQ(m_shop.boxes.shown.size(), 3U); // question, error, paths
    EXPECT_THAT(m_shop.commands(), IsEmpty());
}

TEST_F(Install, a_store_that_cannot_be_written_ends_it_without_a_message)
{
    setOptions({L"-r"});
    writeText(m_shop.settings.folder(false).toStdString() + "/Acme", "a file where the folder should be");
    EXPECT_FALSE(VrpsInstall());
    EXPECT_THAT(m_shop.boxes.shown, ElementsAre(installQuestion));
    EXPECT_TRUE(fs::exists(m_shop.configFile()));
}

TEST_F(Install, the_configuration_file_is_removed_when_asked_for)
{
    setOptions({L"-r"});
    EXPECT_TRUE(VrpsInstall());
    EXPECT_FALSE(fs::exists(m_shop.configFile()));
    delete m_shop.main->configSettings;
    m_shop.main->configSettings = nullptr;
    EXPECT_FALSE(fs::exists(m_shop.configFile()));
}

TEST_F(Install, a_declined_installation_keeps_the_configuration_file)
{
    setOptions({L"-r"});
    m_shop.boxes.answer = buttonNo;
    EXPECT_TRUE(VrpsInstall());
    EXPECT_TRUE(fs::exists(m_shop.configFile()));
}

TEST_F(Install, a_bare_configuration_file_name_is_joined_to_the_program_folder_by_a_backslash)
{
    Workshop::setInstallArguments({L"-c", L"site.ini"});
    m_shop.boxes.answer = buttonNo;
    EXPECT_TRUE(VrpsInstall());
    EXPECT_EQ(std::wstring(m_shop.main->configFilePath), m_shop.main->programDir + L"\\site.ini");
    EXPECT_EQ(std::wstring(m_shop.main->company), L"Varek Systems"); // no such file: the default texts
}

TEST_F(Install, a_configuration_file_name_with_a_folder_is_used_as_given)
{
    for (const wchar_t *name : {L"/etc/site.ini", L"./site.ini", L"folder\\site.ini"}) {
        Workshop::setInstallArguments({L"-c", L"first.ini", L"-c", name});
        m_shop.boxes.answer = buttonNo;
        EXPECT_TRUE(VrpsInstall());
        EXPECT_EQ(std::wstring(m_shop.main->configFilePath), name);
    }
}

TEST_F(Install, the_installation_directory_loses_its_trailing_separators)
{
    const std::wstring programDir = m_shop.main->programDir;
    const std::pair<std::vector<std::wstring>, std::wstring> cases[] = {
        {{L"-d", L"/opt/x"}, L"/opt/x"},
        {{L"-d", L"/opt/x//\\\\"}, L"/opt/x"},
        {{L"-d", L"/opt/x\\/"}, L"/opt/x\\"},
        {{L"-d", L"/"}, L""},
        {{L"-d", L"rel\\a"}, L"rel\\a"},
        {{}, programDir},
        {{L"-d"}, programDir},
        {{L"-d", L"/one", L"-d"}, L"/one"},
    };
    m_shop.boxes.answer = buttonNo;
    for (const auto &[options, expected] : cases) {
        Workshop::setInstallArguments(options);
        EXPECT_TRUE(VrpsInstall());
        EXPECT_EQ(std::wstring(m_shop.main->installSourceDir), expected);
    }
}

TEST_F(Install, an_option_without_its_value_is_ignored)
{
    Workshop::setInstallArguments({L"-r", L"-c"});
    m_shop.boxes.answer = buttonNo;
    EXPECT_TRUE(VrpsInstall());
    EXPECT_EQ(std::wstring(m_shop.main->configFilePath), L"");
}

TEST_F(Install, the_last_error_is_reset_for_the_success_message)
{
    errno = EACCES;
    m_shop.main->noConfirm = true;
    EXPECT_TRUE(VrpsInstall());
    EXPECT_EQ(errno, 0);
}
