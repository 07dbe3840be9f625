// SPDX-License-Identifier: MIT
#include "vrp/platform/printer_queue.h"

#include "tests/unit/printing/Workshop.h"
#include "vrp/platform/text.h"

#include <gmock/gmock.h>

#include <cerrno>

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const std::string copyError = "SetupErrors;ErrorCopyFile;Error copying file. Error = %d.";

class PrinterQueue : public testing::Test
{
protected:
    PrinterQueue()
    {
        copyBounded(m_shop.main->installSourceDir, UTF8tow(m_shop.program() + "../target"));
        copyBounded(m_shop.main->monitorDll, L"varek");
        copyBounded(m_shop.main->monitorSrcDll, L"backend.new");
        copyBounded(m_shop.main->programName, L"vrp");
        copyBounded(m_shop.main->programSource, L"vrp.new");
        copyBounded(m_shop.main->printerName, L"Office");
        useTarget(m_shop.target());
    }

    void useTarget(std::string folder)
    {
        folder.pop_back(); // installation directories have no trailing "/"
        copyBounded(m_shop.main->installSourceDir, UTF8tow(folder));
    }

    [[nodiscard]] Box copyBox(const std::string &source, const std::string &separator,
                              const std::string &destination) const
    {
        return {source + separator + destination};
    }

    Workshop m_shop;
};

} // namespace

TEST_F(PrinterQueue, a_queue_is_created_from_the_program_folder)
{
    EXPECT_TRUE(VrpsAddPrinter(L"Office 2", L"VAREK:", L"A.ppd", L"WinPrint", L"varek"));
    const std::string ppd = m_shop.program("A.ppd");
    EXPECT_THAT(m_shop.commands(), ElementsAre("lpadmin [-p] [Office 2] [-E] [-v] [varek:127.0.0.1] [-P] [" +
                                               ppd + "] [-D] [Office 2]"));
}

TEST_F(PrinterQueue, a_queue_that_cannot_be_created_is_a_failure)
{
    m_shop.failCommand(1);
    EXPECT_FALSE(VrpsAddPrinter(L"Office", L"VAREK:", L"A.ppd", L"WinPrint", L"varek"));
}

TEST_F(PrinterQueue, removing_a_printer_that_does_not_exist_runs_no_command)
{
    m_shop.printers.names = {L"office", L"Office2"};
    EXPECT_TRUE(VrpsRemovePrinter(L"Office"));
    EXPECT_THAT(m_shop.commands(), IsEmpty());
}

TEST_F(PrinterQueue, an_existing_printer_is_removed)
{
    m_shop.printers.names = {L"Other", L"Office 2"};
    EXPECT_TRUE(VrpsRemovePrinter(L"Office 2"));
    m_shop.failCommand(2);
    EXPECT_FALSE(VrpsRemovePrinter(L"Office 2"));
    EXPECT_THAT(m_shop.commands(), ElementsAre("lpadmin [-x] [Office 2]", "lpadmin [-x] [Office 2]"));
}

TEST_F(PrinterQueue, a_double_quote_in_a_printer_name_breaks_the_command)
{
    m_shop.printers.names = {L"a\"b"};
    EXPECT_FALSE(VrpsRemovePrinter(L"a\"b")); // the shell finds no end of the string
    EXPECT_THAT(m_shop.commands(), IsEmpty());
}

TEST_F(PrinterQueue, the_backend_is_for_root_alone)
{
    writeText(Workshop::backend("varek"), "x");
    EXPECT_TRUE(VrpsAddMonitor(L"varek", L"other"));
    EXPECT_EQ(permissionsOf(Workshop::backend("varek")), 0700U);
    EXPECT_FALSE(VrpsAddMonitor(L"missing", L"varek"));
    EXPECT_THAT(m_shop.commands(), ElementsAre("chmod [700] [/usr/libexec/cups/backend/varek]",
                                               "chmod [700] [/usr/libexec/cups/backend/missing]"));
}

TEST_F(PrinterQueue, what_cups_has_no_notion_of_succeeds)
{
    EXPECT_TRUE(VrpsInstallDriver(L"A.ppd", L"Windows 2000"));
    EXPECT_TRUE(VrpsAddPort(L"VAREK:", L"varek"));
    EXPECT_TRUE(VrpsRemovePort(L"VAREK:"));
    EXPECT_TRUE(VrpsEnumPorts());
    EXPECT_TRUE(VrpsRemoveMonitor(L"varek"));
    EXPECT_TRUE(VrpsRemoveMonitorFiles());
    EXPECT_THAT(m_shop.commands(), IsEmpty());
}

TEST_F(PrinterQueue, backend_program_and_launcher_are_put_into_place)
{
    EXPECT_TRUE(VrpsCopyInstallFiles());
    EXPECT_EQ(textOf(Workshop::backend("varek")), "the backend\n");
    EXPECT_EQ(textOf(m_shop.target("vrp")), "the program\n");
    EXPECT_EQ(textOf(m_shop.target("vrpconfig")),
              "#!/bin/sh\nexec \"${0%/*}/vrp\" -m configure -p \"Office\"");
    EXPECT_EQ(permissionsOf(m_shop.target("vrp")) & 0111U, 0111U);
    EXPECT_EQ(permissionsOf(m_shop.target("vrpconfig")) & 0111U, 0111U);
    EXPECT_THAT(m_shop.commands(), ElementsAre("chmod [ugoa+x] [" + m_shop.target("vrp") + "]",
                                               "chmod [ugoa+x] [" + m_shop.target("vrpconfig") + "]"));
    EXPECT_THAT(m_shop.boxes.shown, IsEmpty());
}

TEST_F(PrinterQueue, the_launcher_holds_the_printer_name_in_utf8)
{
    copyBounded(m_shop.main->printerName, L"B\u00fcro");
    writeText(m_shop.target("vrpconfig"), std::string(500, 'x'));
    EXPECT_TRUE(VrpsCopyInstallFiles());
    EXPECT_EQ(textOf(m_shop.target("vrpconfig")),
              "#!/bin/sh\nexec \"${0%/*}/vrp\" -m configure -p \"B\xC3\xBCro\"");
}

TEST_F(PrinterQueue, a_backend_that_is_its_own_source_is_not_copied)
{
    m_shop.main->programDir = L"/usr/libexec/cups/backend";
    copyBounded(m_shop.main->monitorSrcDll, L"varek");
    writeText(Workshop::backend("varek"), "in place");
    writeText(Workshop::backend("vrp.new"), "program");
    EXPECT_TRUE(VrpsCopyInstallFiles());
    EXPECT_EQ(textOf(Workshop::backend("varek")), "in place");
    EXPECT_THAT(m_shop.boxes.shown, IsEmpty());
}

TEST_F(PrinterQueue, a_destination_that_only_begins_like_its_source_counts_as_the_same)
{
    m_shop.main->programDir = L"/usr/libexec/cups/backend";
    copyBounded(m_shop.main->monitorSrcDll, L"varek");
    copyBounded(m_shop.main->monitorDll, L"varek2");
    writeText(Workshop::backend("varek"), "source");
    writeText(Workshop::backend("vrp.new"), "program");
    EXPECT_TRUE(VrpsCopyInstallFiles());
    EXPECT_FALSE(fs::exists(Workshop::backend("varek2")));
}

TEST_F(PrinterQueue, a_program_installed_onto_itself_is_emptied)
{
    copyBounded(m_shop.main->installSourceDir, m_shop.main->programDir);
    copyBounded(m_shop.main->programSource, L"vrp");
    writeText(m_shop.program("vrp"), "the program\n");
    EXPECT_TRUE(VrpsCopyInstallFiles());
    EXPECT_EQ(textOf(m_shop.program("vrp")), "");
}

TEST_F(PrinterQueue, a_program_whose_name_only_begins_like_its_source_is_copied_all_the_same)
{
    copyBounded(m_shop.main->installSourceDir, m_shop.main->programDir);
    copyBounded(m_shop.main->programName, L"vrp.new2");
    EXPECT_TRUE(VrpsCopyInstallFiles());
    EXPECT_EQ(textOf(m_shop.program("vrp.new2")), "the program\n");
}

TEST_F(PrinterQueue, a_backend_that_cannot_be_copied_is_shown_with_both_paths)
{
    fs::remove(m_shop.program("backend.new"));
    EXPECT_FALSE(VrpsCopyInstallFiles());
    EXPECT_THAT(m_shop.boxes.shown,
                ElementsAre(Box{copyError, iconCritical, buttonOk, ENOENT},
                            copyBox(m_shop.program("backend.new"), "\n", Workshop::backend("varek"))));
    EXPECT_FALSE(fs::exists(m_shop.target("vrp")));
    EXPECT_THAT(m_shop.commands(), IsEmpty());
}

TEST_F(PrinterQueue, a_program_that_cannot_be_copied_is_shown_with_both_paths)
{
    fs::remove(m_shop.program("vrp.new"));
    EXPECT_FALSE(VrpsCopyInstallFiles());
    EXPECT_THAT(m_shop.boxes.shown,
                ElementsAre(Box{copyError, iconCritical, buttonOk, ENOENT},
                            copyBox(m_shop.program("vrp.new"), " - ", m_shop.target("vrp"))));
    EXPECT_THAT(m_shop.commands(), IsEmpty());
}

TEST_F(PrinterQueue, a_silent_run_shows_no_failed_copy)
{
    m_shop.main->silent = true;
    fs::remove(m_shop.program("vrp.new"));
    EXPECT_FALSE(VrpsCopyInstallFiles());
    fs::remove(m_shop.program("backend.new"));
    EXPECT_FALSE(VrpsCopyInstallFiles());
    EXPECT_THAT(m_shop.boxes.shown, IsEmpty());
}

TEST_F(PrinterQueue, a_target_folder_that_is_read_only_fails)
{
    const SmallDisk disk(m_shop.target(), 64);
    disk.makeReadOnly();
    EXPECT_FALSE(VrpsCopyInstallFiles());
    EXPECT_EQ(m_shop.boxes.shown.at(0), (Box{copyError, iconCritical, buttonOk, EROFS}));
}

TEST_F(PrinterQueue, a_full_disk_fails_while_the_program_is_copied)
{
    writeText(m_shop.program("vrp.new"), std::string(100000, 'x'));
    const SmallDisk disk(m_shop.target(), 64);
    EXPECT_FALSE(VrpsCopyInstallFiles());
    EXPECT_EQ(m_shop.boxes.shown.at(0), (Box{copyError, iconCritical, buttonOk, ENOSPC}));
}

TEST_F(PrinterQueue, a_full_disk_fails_while_the_launcher_is_written)
{
    const SmallDisk disk(m_shop.target(), 64);
    disk.fill(4096); // the page that the program takes
    EXPECT_FALSE(VrpsCopyInstallFiles());
    EXPECT_EQ(textOf(m_shop.target("vrp")), "the program\n");
    EXPECT_THAT(m_shop.commands(), ElementsAre("chmod [ugoa+x] [" + m_shop.target("vrp") + "]"));
    EXPECT_THAT(m_shop.boxes.shown, IsEmpty());
}

TEST_F(PrinterQueue, a_launcher_that_cannot_be_opened_fails)
{
    fs::create_directory(m_shop.target("vrpconfig"));
    EXPECT_FALSE(VrpsCopyInstallFiles());
    EXPECT_EQ(m_shop.commands().size(), 1U);
}

TEST_F(PrinterQueue, a_failing_permission_change_fails_the_copy)
{
    for (const std::size_t failing : {1U, 2U}) {
        Workshop shop;
        SCOPED_TRACE(failing);
        copyBounded(shop.main->installSourceDir, UTF8tow(shop.program() + "../target"));
        copyBounded(shop.main->monitorDll, L"varek");
        copyBounded(shop.main->monitorSrcDll, L"backend.new");
        copyBounded(shop.main->programName, L"vrp");
        copyBounded(shop.main->programSource, L"vrp.new");
        shop.failCommand(failing);
        EXPECT_FALSE(VrpsCopyInstallFiles());
        EXPECT_EQ(shop.commands().size(), failing);
        EXPECT_EQ(fs::exists(shop.target("vrpconfig")), failing == 2);
    }
}
