// SPDX-License-Identifier: MIT
#pragma once

#include "vrp/ui/PromptDialog.h"

/// Asks for the user name and password of an authenticating proxy. Ok stores what was typed into the
/// application object and the settings.
class ProxyUserPasswordDialog : public PromptDialog
{
    Q_OBJECT

public:
    ProxyUserPasswordDialog();

protected Q_SLOTS:
    void onOk() override;

private:
    void createDialog();

    QLineEdit *m_user = nullptr;
    QLineEdit *m_password = nullptr;
    QCheckBox *m_keepPassword = nullptr;
};
