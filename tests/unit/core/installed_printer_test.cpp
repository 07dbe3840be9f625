// SPDX-License-Identifier: MIT
#include "vrp/settings/installed_printer.h"

#include "tests/support/FreshMain.h"
#include "tests/support/SettingsFolder.h"
#include "vrp/core/resource_table.h"
#include "vrp/platform/text.h"

#include <gtest/gtest.h>

namespace {

class InstalledPrinter : public testing::Test
{
protected:
    InstalledPrinter()
    {
        SettingsFolder::registerPrinter(QStringLiteral("Office"), QStringLiteral("Acme"),
                                        QStringLiteral("Print"));
        SettingsFolder::write(
            m_settings.file(QStringLiteral("Acme"), QStringLiteral("Print"), false),
            "[Printer]\nTitle=Office printer\nName=Other\n[Software]\nCompany=Acme\nName=Print\n"
            "Version=2.00.000\n");
        copyBounded(m_main->printerTitle, L"before");
    }

    SettingsFolder m_settings;
    FreshMain m_main;
};

TEST_F(InstalledPrinter, is_selected_with_its_names_and_its_title)
{
    EXPECT_TRUE(selectPrinter(L"Office"));
    EXPECT_STREQ(m_main->company, L"Acme");
    EXPECT_STREQ(m_main->softwareName, L"Print");
    EXPECT_STREQ(m_main->printerTitle, L"Office printer");
}

TEST_F(InstalledPrinter, without_a_title_has_an_empty_one)
{
    SettingsFolder::registerPrinter(QStringLiteral("Bare"), QStringLiteral("Acme"), QStringLiteral("Bare"));
    EXPECT_TRUE(selectPrinter(L"Bare"));
    EXPECT_STREQ(m_main->printerTitle, L"");
}

TEST_F(InstalledPrinter, of_another_name_leaves_the_title_alone)
{
    for (const wchar_t *name : {L"Nowhere", L"office", L""}) {
        EXPECT_FALSE(selectPrinter(name));
        EXPECT_STREQ(m_main->printerTitle, L"before");
    }
}

TEST_F(InstalledPrinter, is_loaded_under_the_name_that_was_given)
{
    FreshMain::setArguments({L"-p", L"Nowhere", L"-p", L"Office"});
    EXPECT_EQ(loadNamedPrinter(), nullptr);
    EXPECT_STREQ(m_main->printerName, L"Office");
    EXPECT_STREQ(m_main->version, L"2.00.000");
}

TEST_F(InstalledPrinter, must_be_named_and_be_known)
{
    FreshMain::setArguments({});
    EXPECT_EQ(loadNamedPrinter(), resource::errorsNoPrinterName);
    FreshMain::setArguments({L"-p", L""});
    EXPECT_EQ(loadNamedPrinter(), resource::errorsNoPrinterName);
    FreshMain::setArguments({L"-p", L"Nowhere"});
    EXPECT_EQ(loadNamedPrinter(), resource::errorsPrinterNotInstalled);
}

} // namespace
