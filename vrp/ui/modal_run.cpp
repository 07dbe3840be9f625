// SPDX-License-Identifier: MIT
#include "vrp/ui/modal_run.h"

#include "vrp/core/VrpMain.h"
#include "vrp/ui/progress.h"

#include <QDialog>

int runModally(QDialog &dialog)
{
    VrpsSetMessageWindowOnTop();
    if (dialog.exec() == QDialog::Accepted) {
        return 0;
    }
    VrpsGetMain()->log.WriteLn(L"User canceled the operation");
    return 1;
}
