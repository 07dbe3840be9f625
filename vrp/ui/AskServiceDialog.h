// SPDX-License-Identifier: MIT
#pragma once

#include "vrp/ui/PromptDialog.h"

class QComboBox;

/// Lets the user choose among the tunnel services that the server offers. Ok leaves the chosen row in the
/// application object, empty when the list is.
class AskServiceDialog : public PromptDialog
{
    Q_OBJECT

public:
    AskServiceDialog();

protected Q_SLOTS:
    void onOk() override;

private:
    void createDialog();
    void addServices();

    QComboBox *m_services = nullptr;
};
