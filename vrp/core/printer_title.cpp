// SPDX-License-Identifier: MIT
#include "vrp/core/printer_title.h"

#include "vrp/core/VrpMain.h"
#include "vrp/core/resource_id.h"
#include "vrp/core/resource_table.h"
#include "vrp/platform/text.h"

#include <QCoreApplication>

void setPrinterTitle(const std::wstring &title)
{
    copyBounded(VrpsGetMain()->printerTitle, title);
    nameProgram();
}

void nameProgram()
{
    std::wstring title = VrpsGetMain()->printerTitle;
    if (title.empty()) {
        title = defaultTextOf(resource::printerTitle);
    }
    QCoreApplication::setApplicationName(QString::fromStdWString(title));
}
