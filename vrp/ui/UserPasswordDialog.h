// SPDX-License-Identifier: MIT
#pragma once

#include "vrp/ui/PromptDialog.h"

/// Asks for identifier and password on the application server. Ok stores what was typed into the application
/// object and the settings; nothing is validated here.
class UserPasswordDialog : public PromptDialog
{
    Q_OBJECT

public:
    UserPasswordDialog();

protected Q_SLOTS:
    void onOk() override;

private:
    void createDialog();

    QLineEdit *m_ident = nullptr;
    QLineEdit *m_password = nullptr;
    QCheckBox *m_keepPassword = nullptr;
};
