// SPDX-License-Identifier: MIT
#include "vrp/platform/printers.h"

#include "vrp/platform/text.h"

#include <QPrinterInfo>

#include <algorithm>

bool VrpsPrinterExist(const std::wstring &name)
{
    const QList<QPrinterInfo> printers = QPrinterInfo::availablePrinters();
    return std::any_of(printers.begin(), printers.end(), [&name](const QPrinterInfo &printer) {
        return QString2StdWString(printer.printerName()) == name;
    });
}
