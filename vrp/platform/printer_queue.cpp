// SPDX-License-Identifier: MIT
#include "vrp/platform/printer_queue.h"

#include "vrp/core/VrpMain.h"
#include "vrp/core/resource_table.h"
#include "vrp/platform/files.h"
#include "vrp/platform/printers.h"
#include "vrp/platform/processes.h"
#include "vrp/platform/queue_commands.h"
#include "vrp/platform/system.h"
#include "vrp/platform/text.h"
#include "vrp/ui/message_boxes.h"

namespace {

bool succeeds(const std::wstring &command)
{
    int exitCode = 0;
    return VrpsExecPrgm(command.c_str(), &exitCode, -1) == 0 && exitCode == 0;
}

/// Whether two paths count as one: compared over the length of the source, so that a destination which only
/// begins like the source counts as the same.
bool isSamePath(const std::wstring &source, const std::wstring &destination)
{
    return destination.starts_with(source);
}

void reportFailedCopy(const std::wstring &source, const std::wstring &destination, const wchar_t *separator)
{
    if (VrpsGetMain()->silent) {
        return;
    }
    VrpsErrorMessage(resource::setupErrorsErrorCopyFile, -1);
    VrpsMessageBox((source + separator + destination).c_str(), iconCritical, buttonOk);
}

bool copyUnlessSame(const std::wstring &source, const std::wstring &destination, const wchar_t *separator)
{
    if (isSamePath(source, destination)) {
        return true;
    }
    VrpsSetLastError(0);
    if (CopyFileEx(source, destination)) {
        return true;
    }
    reportFailedCopy(source, destination, separator);
    return false;
}

bool copyBackend(const VrpMain &main)
{
    const std::wstring source = main.programDir + L"/" + main.monitorSrcDll;
    return copyUnlessSame(source, std::wstring(queue_commands::backendFolder) + main.monitorDll, L"\n");
}

bool copyProgram(const VrpMain &main, const std::wstring &destination)
{
    const std::wstring source = main.programDir + L"/" + main.programSource;
    // Copied at once whatever the paths are, on purpose: a program installed onto itself is emptied by this.
    CopyFileEx(source, destination);
    return copyUnlessSame(source, destination, L" - ");
}

bool writeLauncher(const VrpMain &main, const std::wstring &launcher)
{
    const std::wstring script = queue_commands::launcherScript(main.programName, main.printerName);
    return writeFile(launcher, wtoUTF8(script));
}

} // namespace

bool MacAddPrinter(const std::wstring &printer, const std::wstring & /*port*/, const std::wstring &driver,
                   const std::wstring & /*processor*/, const std::wstring &monitor)
{
    const std::wstring ppdFile = VrpsGetMain()->programDir + L"/" + driver;
    return succeeds(queue_commands::createQueue(printer, monitor, ppdFile));
}

bool MacRemovePrinter(const std::wstring &printer)
{
    return !VrpsPrinterExist(printer) || succeeds(queue_commands::deleteQueue(printer));
}

bool MacAddMonitor(const std::wstring &monitor, const std::wstring & /*backendFile*/)
{
    return succeeds(queue_commands::protectBackend(monitor));
}

bool MacCopyInstallFiles()
{
    const VrpMain &main = *VrpsGetMain();
    const std::wstring folder = main.installSourceDir;
    const std::wstring program = folder + L"/" + main.programName;
    const std::wstring launcher = folder + L"/vrpconfig";
    return copyBackend(main) && copyProgram(main, program) &&
           succeeds(queue_commands::makeExecutable(program)) && writeLauncher(main, launcher) &&
           succeeds(queue_commands::makeExecutable(launcher));
}

bool MacInstallDriver(const std::wstring & /*driver*/, const std::wstring & /*environment*/)
{
    return true;
}

bool MacAddPort(const std::wstring & /*port*/, const std::wstring & /*monitor*/)
{
    return true;
}

bool MacRemovePort(const std::wstring & /*port*/)
{
    return true;
}

bool MacEnumPorts()
{
    return true;
}

bool MacRemoveMonitor(const std::wstring & /*monitor*/)
{
    return true;
}

bool MacRemoveMonitorFiles()
{
    return true;
}

bool VrpsAddPrinter(const std::wstring &printer, const std::wstring &port, const std::wstring &driver,
                    const std::wstring &processor, const std::wstring &monitor)
{
    return MacAddPrinter(printer, port, driver, processor, monitor);
}

bool VrpsRemovePrinter(const std::wstring &printer)
{
    return MacRemovePrinter(printer);
}

bool VrpsAddMonitor(const std::wstring &monitor, const std::wstring &backendFile)
{
    return MacAddMonitor(monitor, backendFile);
}

bool VrpsCopyInstallFiles()
{
    return MacCopyInstallFiles();
}

bool VrpsInstallDriver(const std::wstring &driver, const std::wstring &environment)
{
    return MacInstallDriver(driver, environment);
}

bool VrpsAddPort(const std::wstring &port, const std::wstring &monitor)
{
    return MacAddPort(port, monitor);
}

bool VrpsRemovePort(const std::wstring &port)
{
    return MacRemovePort(port);
}

bool VrpsEnumPorts()
{
    return MacEnumPorts();
}

bool VrpsRemoveMonitor(const std::wstring &monitor)
{
    return MacRemoveMonitor(monitor);
}

bool VrpsRemoveMonitorFiles()
{
    return MacRemoveMonitorFiles();
}
