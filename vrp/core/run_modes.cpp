// SPDX-License-Identifier: MIT
#include "vrp/core/GuiApplication.h"
#include "vrp/core/VrpMain.h"
#include "vrp/core/command_line.h"
#include "vrp/core/resource_strings.h"
#include "vrp/core/resource_table.h"
#include "vrp/platform/install.h"
#include "vrp/server/browser.h"
#include "vrp/settings/installed_printer.h"
#include "vrp/settings/settings_store.h"
#include "vrp/ui/ConfigDialog.h"
#include "vrp/ui/MessageWindow.h"
#include "vrp/ui/error_report.h"
#include "vrp/ui/message_boxes.h"
#include "vrp/ui/progress.h"

#include <QSettings>

#include <string>

namespace {

using LastWindow = GuiApplication::LastWindow;
using Windows = GuiApplication::Windows;

/// The program's own version, apart from the one that is installed and shown to users.
constexpr wchar_t internalVersion[] = L"3.00";

/// Loads the texts of the printer named by "-p" from its store; false when that was not possible, and the
/// user told.
bool findPrinter(VrpMain &main)
{
    main.configFilePath[0] = L'\0';
    const wchar_t *const problem = loadNamedPrinter();
    if (problem != nullptr) {
        reportError(problem);
    }
    return problem == nullptr;
}

/// Install and uninstall show nothing when they are silent, and then need no display.
Windows windowsOfSetup(const VrpMain &main)
{
    return main.silent ? Windows::none : Windows::shown;
}

} // namespace

bool VrpMain::Help()
{
    const GuiApplication application(LastWindow::endsLoop);
    if (!findPrinter(*this)) {
        return false;
    }
    const std::wstring address = helpAddress(L"Main");
    if (!address.empty()) {
        VrpsRunBrowser(address.c_str());
    }
    return true;
}

int VrpMain::Configure()
{
    const GuiApplication application(LastWindow::endsLoop);
    if (!findPrinter(*this)) {
        return 1;
    }
    ConfigDialog dialog;
    dialog.show();
    return GuiApplication::run();
}

bool VrpMain::Version()
{
    VrpsLoadResources();
    const GuiApplication application(LastWindow::endsLoop);
    const std::wstring text = std::wstring(L"Virtual printer internal version = ") + internalVersion;
    VrpsMessageBox(text.c_str(), iconInformation, buttonOk);
    return true;
}

bool VrpMain::Install()
{
    const GuiApplication application(LastWindow::endsLoop, windowsOfSetup(*this));
    return VrpsInstall();
}

bool VrpMain::Uninstall()
{
    const GuiApplication application(LastWindow::endsLoop, windowsOfSetup(*this));
    return VrpsUninstall();
}

int VrpMain::Send()
{
    // A hidden progress window must not end the loop under the dialogs that follow.
    const GuiApplication application(LastWindow::isIgnored);
    if (InitSend() != 0) {
        return 1;
    }
    // Lives until the process ends, as late events may still name it.
    messageWindow = new MessageWindow;
    return GuiApplication::run();
}

int VrpMain::InitSend()
{
    std::wstring printer;
    for (const std::wstring &value : optionValues(L"-p")) {
        log.Write(L"\t");
        log.WriteLn(value.c_str());
        printer = value;
    }
    if (!selectPrinter(printer)) {
        reportError(resource::errorsPrinterNotInstalled);
        log.WriteLn(L"Error: Printer not installed");
        return 1;
    }
    return 0;
}

void VrpMain::Cleanup()
{
    VrpsCleanupUi();
    log.Close();
    delete configSettings;
    configSettings = nullptr;
}
