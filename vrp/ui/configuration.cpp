// SPDX-License-Identifier: MIT
#include "vrp/ui/configuration.h"

#include "vrp/ui/ConfigDialog.h"

bool VrpsDisplayConfig()
{
    ConfigDialog dialog;
    return dialog.exec() == QDialog::Rejected;
}
