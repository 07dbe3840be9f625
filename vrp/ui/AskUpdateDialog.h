// SPDX-License-Identifier: MIT
#pragma once

#include "vrp/ui/PromptDialog.h"

/// Asks whether to upgrade now. The answer of a button goes into the application object; Escape leaves it
/// as it is.
class AskUpdateDialog : public PromptDialog
{
    Q_OBJECT

public:
    AskUpdateDialog();

protected Q_SLOTS:
    void onYes();
    void onNo();
    void onCancel() override;

private:
    void createDialog();
};
