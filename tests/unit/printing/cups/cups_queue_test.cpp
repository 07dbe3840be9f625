// SPDX-License-Identifier: MIT
#include "tests/support/FreshMain.h"
#include "tests/support/PrivateCupsd.h"
#include "tests/support/ScopedVariable.h"
#include "vrp/platform/printer_queue.h"
#include "vrp/platform/printers.h"
#include "vrp/platform/text.h"

#include <QGuiApplication>

#include <gmock/gmock.h>

#include <filesystem>

using testing::HasSubstr;

namespace {

/// One server and one toolkit for all tests: libcups keeps what it learned of the server for the whole
/// process.
class CupsQueue : public testing::Test
{
protected:
    struct Peers
    {
        ScopedVariable platform{"QT_QPA_PLATFORM", "offscreen"};
        ScopedVariable path{"PATH", "/usr/sbin:/usr/bin:/sbin:/bin"};
        PrivateCupsd cupsd{"varek"};
        int argc = 1;
        char name[5] = "test";
        char *argv[2] = {name, nullptr};
        QGuiApplication application{argc, argv};
    };

    static void SetUpTestSuite() { peers = std::make_unique<Peers>(); }

    static void TearDownTestSuite() { peers.reset(); }

    void SetUp() override
    {
        ASSERT_TRUE(peers->cupsd.isRunning()) << "needs root and the Debian packages cups and cups-client\n"
                                              << peers->cupsd.errorLog();
        std::filesystem::copy_file(VAREK_SOURCE_DIR "/tests/unit/printing/cups/queue_test.ppd",
                                   m_folder.path().toStdString() + "/Test A4.ppd");
        m_main->programDir = QString2StdWString(m_folder.path());
    }

    static bool add(const std::wstring &name, const std::wstring &driver = L"Test A4.ppd")
    {
        return VrpsAddPrinter(name, L"VAREK:", driver, L"WinPrint", L"varek");
    }

    static std::unique_ptr<Peers> peers;
    QTemporaryDir m_folder;
    FreshMain m_main;
};

std::unique_ptr<CupsQueue::Peers> CupsQueue::peers;

} // namespace

TEST_F(CupsQueue, a_printer_exists_by_exactly_its_name)
{
    EXPECT_FALSE(VrpsPrinterExist(L"Office"));
    ASSERT_TRUE(add(L"Office"));
    ASSERT_TRUE(add(L"Second"));
    EXPECT_TRUE(VrpsPrinterExist(L"Office"));
    EXPECT_TRUE(VrpsPrinterExist(L"Second"));
    for (const wchar_t *name : {L"office", L"OFFICE", L"Offic", L"Office ", L"Office2", L""}) {
        EXPECT_FALSE(VrpsPrinterExist(name));
    }
    EXPECT_TRUE(VrpsRemovePrinter(L"Second"));
    EXPECT_TRUE(VrpsPrinterExist(L"Office"));
    EXPECT_FALSE(VrpsPrinterExist(L"Second"));
    EXPECT_TRUE(VrpsRemovePrinter(L"Second"));
}

TEST_F(CupsQueue, a_new_queue_is_enabled_and_hands_its_jobs_to_the_monitor)
{
    ASSERT_TRUE(add(L"Enabled"));
    EXPECT_THAT(outputOf("lpstat -v Enabled"), HasSubstr("device for Enabled: varek:127.0.0.1"));
    EXPECT_THAT(outputOf("lpstat -a Enabled"), HasSubstr("Enabled accepting requests"));
    EXPECT_THAT(outputOf("lpstat -l -p Enabled"), HasSubstr("printer Enabled is idle.  enabled"));
    EXPECT_THAT(outputOf("lpstat -l -p Enabled"), HasSubstr("Description: Enabled"));
}

TEST_F(CupsQueue, a_missing_printer_description_gives_no_queue)
{
    EXPECT_FALSE(add(L"Incomplete", L"missing.ppd"));
    EXPECT_FALSE(VrpsPrinterExist(L"Incomplete"));
}

TEST_F(CupsQueue, a_name_that_cups_refuses_gives_no_queue)
{
    EXPECT_FALSE(add(L"two words"));
    EXPECT_FALSE(VrpsPrinterExist(L"two words"));
}
