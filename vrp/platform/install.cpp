// SPDX-License-Identifier: MIT
#include "vrp/platform/install.h"

#include "vrp/core/VrpMain.h"
#include "vrp/core/command_line.h"
#include "vrp/core/resource_strings.h"
#include "vrp/core/resource_table.h"
#include "vrp/platform/files.h"
#include "vrp/platform/printer_queue.h"
#include "vrp/platform/system.h"
#include "vrp/platform/text.h"
#include "vrp/settings/installation_settings.h"
#include "vrp/settings/installed_printer.h"
#include "vrp/ui/error_report.h"
#include "vrp/ui/message_boxes.h"

#include <algorithm>

namespace {

void dropAllTrailing(std::wstring &path, wchar_t c)
{
    path.erase(path.find_last_not_of(c) + 1);
}

/// A bare name stands beside the program, joined by a backslash; one with a folder is used as given.
std::wstring configFilePath(const std::wstring &name)
{
    const bool isBare = name.find_first_of(L"\\/") == std::wstring::npos;
    return isBare ? VrpsGetMain()->programDir + L"\\" + name : name;
}

void readOptions(VrpMain &main)
{
    std::wstring value;
    if (optionValue(L"-c", value)) {
        copyBounded(main.configFilePath, configFilePath(value));
    }
    std::wstring folder = main.programDir;
    optionValue(L"-d", folder);
    dropAllTrailing(folder, L'\\');
    dropAllTrailing(folder, L'/');
    copyBounded(main.installSourceDir, folder);
}

bool isToRemoveConfigFile(const VrpMain &main)
{
    return main.configFilePath[0] != L'\0' &&
           std::find(main.arguments.begin(), main.arguments.end(), L"-r") != main.arguments.end();
}

bool isConfirmed(const wchar_t *questionId)
{
    return VrpsGetMain()->noConfirm ||
           VrpsMessageBoxFromId(questionId, iconQuestion, buttonYes | buttonNo) == buttonYes;
}

void reportSuccess(const wchar_t *id)
{
    VrpsSetLastError(0);
    if (!VrpsGetMain()->noConfirm) {
        VrpsMessageBoxFromId(id, iconInformation, buttonOk);
    }
}

bool removeQueueAndFiles(const VrpMain &main)
{
    return VrpsRemovePrinter(main.printerName) && VrpsRemovePort(main.printerPort) &&
           VrpsRemoveMonitor(main.monitorName) && VrpsRemoveMonitorFiles();
}

bool prepareQueue(const VrpMain &main)
{
    return removeQueueAndFiles(main) && VrpsCopyInstallFiles() &&
           VrpsAddMonitor(main.monitorName, main.monitorDll) &&
           VrpsAddPort(main.printerPort, main.monitorName);
}

/// Cuts the first entry off a list separated by ";"; both are cleaned of blanks.
std::wstring takeDriver(std::wstring &list)
{
    const std::size_t separator = list.find(L';');
    std::wstring driver = list.substr(0, separator);
    list = separator == std::wstring::npos ? std::wstring() : list.substr(separator + 1);
    VrpsCleanString(driver, false);
    VrpsCleanString(list, false);
    return driver;
}

bool installDriver(const std::wstring &driver)
{
    return VrpsInstallDriver(driver, L"Windows 2000") || VrpsInstallDriver(driver, L"Windows XP");
}

/// Creates the queue with the first driver that will do.
bool addPrinterWithAnyDriver(const VrpMain &main)
{
    std::wstring drivers = main.printerDriver;
    VrpsSetLastError(0);
    while (!drivers.empty()) {
        const std::wstring driver = takeDriver(drivers);
        if (!installDriver(driver)) {
            VrpsRemoveMonitor(main.monitorName);
            return false;
        }
        if (VrpsAddPrinter(main.printerName, main.printerPort, driver, main.printProcessor,
                           main.monitorName)) {
            return true;
        }
    }
    reportError(resource::setupErrorsAddPrinterFailed, -1);
    return false;
}

} // namespace

bool VrpsConfirmInstall()
{
    return isConfirmed(resource::setupIntroInstall);
}

bool VrpsConfirmUninstall()
{
    return isConfirmed(resource::setupIntroUninstall);
}

bool VrpsInstall()
{
    VrpMain &main = *VrpsGetMain();
    readOptions(main);
    VrpsLoadResources();
    if (!VrpsConfirmInstall()) {
        return true;
    }
    if (!prepareQueue(main) || !addPrinterWithAnyDriver(main) || !VrpsInstallSetRegistry()) {
        return false;
    }
    if (isToRemoveConfigFile(main)) {
        VrpsRemoveFile(main.configFilePath);
    }
    reportSuccess(resource::setupInstallOk);
    return true;
}

bool VrpsUninstall()
{
    if (const wchar_t *const problem = loadNamedPrinter()) {
        reportError(problem);
        return false;
    }
    if (!VrpsConfirmUninstall()) {
        return true;
    }
    if (!removeQueueAndFiles(*VrpsGetMain())) {
        return false;
    }
    reportSuccess(resource::setupUninstallOk);
    VrpsInstallRemoveRegistry();
    return true;
}
