// SPDX-License-Identifier: MIT
#include "vrp/settings/installed_printer.h"

#include "vrp/core/VrpMain.h"
#include "vrp/core/command_line.h"
#include "vrp/core/printer_title.h"
#include "vrp/core/resource_strings.h"
#include "vrp/core/resource_table.h"
#include "vrp/platform/text.h"
#include "vrp/settings/settings_store.h"

bool selectPrinter(const std::wstring &printer)
{
    if (!VrpsGetCompanyFromRegistry(printer)) {
        return false;
    }
    setPrinterTitle(VrpsGetCompanyRegistryKey(L"Printer", L"Title", nullptr, false));
    return true;
}

const wchar_t *loadNamedPrinter()
{
    std::wstring printer;
    if (!optionValue(L"-p", printer) || printer.empty()) {
        return resource::errorsNoPrinterName;
    }
    if (!selectPrinter(printer)) {
        return resource::errorsPrinterNotInstalled;
    }
    VrpsLoadResources();
    // The texts know one printer's name; this run is about the one that was named.
    copyBounded(VrpsGetMain()->printerName, printer);
    return nullptr;
}
