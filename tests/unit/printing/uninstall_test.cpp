// SPDX-License-Identifier: MIT
#include "tests/unit/printing/InstallTest.h"

#include <gmock/gmock.h>

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Install = InstallTest;

const Box uninstallQuestion{"Setup;IntroUninstall;Do you want to remove the Varek printer ?", iconQuestion,
                            buttonYes | buttonNo};
const Box uninstalled{"Setup;UninstallOk;The Varek printer has been removed", iconInformation, buttonOk};
const Box noPrinterName{"Errors;NoPrinterName;No printer name given."};
const Box notInstalled{"Errors;PrinterNotInstalled;The printer is not installed correctly."};

} // namespace

TEST_F(Install, an_uninstallation_removes_queue_and_settings)
{
    installQuietly();
    setUninstallOptions({L"-p", L"Office"});
    EXPECT_TRUE(VrpsUninstall());
    EXPECT_THAT(m_shop.boxes.shown, ElementsAre(uninstallQuestion, uninstalled));
    EXPECT_THAT(newCommands(), ElementsAre("lpadmin [-x] [Office]"));
    EXPECT_EQ(Workshop::registered("Office", "Company"), "(none)");
    EXPECT_EQ(Workshop::stored("Version"), "(none)");
}

TEST_F(Install, the_settings_go_when_the_success_was_acknowledged)
{
    installQuietly();
    std::vector<std::string> companies;
    m_shop.boxes.whileShown = [&] { companies.push_back(Workshop::registered("Office", "Company")); };
    setUninstallOptions({L"-p", L"Office"});
    EXPECT_TRUE(VrpsUninstall());
    EXPECT_THAT(companies, ElementsAre("Acme", "Acme")); // question and success
    EXPECT_EQ(Workshop::registered("Office", "Company"), "(none)");
}

TEST_F(Install, a_quiet_uninstallation_shows_nothing)
{
    installQuietly();
    m_shop.main->noConfirm = true;
    setUninstallOptions({L"-p", L"Office"});
    EXPECT_TRUE(VrpsUninstall());
    EXPECT_THAT(m_shop.boxes.shown, IsEmpty());
}

TEST_F(Install, declining_to_uninstall_changes_nothing)
{
    installQuietly();
    m_shop.boxes.answer = buttonNo;
    setUninstallOptions({L"-p", L"Office"});
    EXPECT_TRUE(VrpsUninstall());
    EXPECT_THAT(m_shop.boxes.shown, ElementsAre(uninstallQuestion));
    EXPECT_THAT(newCommands(), IsEmpty());
    EXPECT_EQ(Workshop::registered("Office", "Company"), "Acme");
}

TEST_F(Install, uninstalling_needs_a_printer_name)
{
    for (const auto &options : std::vector<std::vector<std::wstring>>{{}, {L"-p"}, {L"-p", L""}}) {
        m_shop.boxes.shown.clear();
        setUninstallOptions(options);
        EXPECT_FALSE(VrpsUninstall());
        EXPECT_THAT(m_shop.boxes.shown, ElementsAre(noPrinterName));
    }
}

TEST_F(Install, a_printer_without_an_entry_is_not_uninstalled_even_when_its_queue_exists)
{
    m_shop.printers.names = {L"Office"};
    setUninstallOptions({L"-p", L"Office"});
    EXPECT_FALSE(VrpsUninstall());
    EXPECT_THAT(m_shop.boxes.shown, ElementsAre(notInstalled));
    EXPECT_THAT(m_shop.commands(), IsEmpty());
}

TEST_F(Install, a_silent_uninstallation_shows_no_error)
{
    m_shop.main->silent = true;
    m_shop.main->noConfirm = true;
    setUninstallOptions({});
    EXPECT_FALSE(VrpsUninstall());
    setUninstallOptions({L"-p", L"Office"});
    EXPECT_FALSE(VrpsUninstall());
    EXPECT_THAT(m_shop.boxes.shown, IsEmpty());
}

TEST_F(Install, a_queue_that_cannot_be_removed_keeps_the_settings)
{
    installQuietly();
    m_shop.failCommand(m_commandsBefore + 1);
    setUninstallOptions({L"-p", L"Office"});
    EXPECT_FALSE(VrpsUninstall());
    EXPECT_THAT(m_shop.boxes.shown, ElementsAre(uninstallQuestion));
    EXPECT_EQ(Workshop::registered("Office", "Company"), "Acme");
}

TEST_F(Install, a_printer_that_was_installed_under_another_name_is_uninstalled_by_that_name)
{
    installQuietly();
    SettingsFolder::registerPrinter(QStringLiteral("Copy"), QStringLiteral("Acme"), QStringLiteral("Print"));
    m_shop.printers.names = {L"Copy", L"Office"};
    setUninstallOptions({L"-p", L"Copy"});
    EXPECT_TRUE(VrpsUninstall());
    EXPECT_THAT(newCommands(), ElementsAre("lpadmin [-x] [Copy]"));
    EXPECT_EQ(Workshop::registered("Copy", "Company"), "(none)");
    EXPECT_EQ(Workshop::registered("Office", "Company"), "Acme");
    EXPECT_EQ(std::wstring(m_shop.main->printerTitle), L"Office printer");
}

TEST_F(Install, an_uninstallation_succeeds_even_when_its_settings_cannot_be_removed)
{
    installQuietly();
    setUninstallOptions({L"-p", L"Office"});
    fs::permissions(m_shop.settings.folder(false).toStdString(), fs::perms::owner_all);
    const std::string bootstrap = m_shop.settings.bootstrapFile().toStdString();
    const std::string content = textOf(bootstrap);
    const SmallDisk disk(fs::path(bootstrap).parent_path().string(), 64);
    writeText(bootstrap, content);
    disk.makeReadOnly();
    EXPECT_TRUE(VrpsUninstall());
    EXPECT_THAT(m_shop.boxes.shown, ElementsAre(uninstallQuestion, uninstalled));
    EXPECT_EQ(Workshop::registered("Office", "Company"), "Acme");
}
