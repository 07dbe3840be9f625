// SPDX-License-Identifier: MIT
#pragma once

#include "vrp/ui/PromptDialog.h"

class QGridLayout;
class QRadioButton;

/// Lets the user choose among the offered print modes; the last one chosen is preselected. Ok stores the
/// choice.
class PrintModeDialog : public PromptDialog
{
    Q_OBJECT

public:
    PrintModeDialog();

protected Q_SLOTS:
    void onOk() override;

private:
    void createDialog();

    /// What one mode is shown by: resource identifiers and names of its button and its description.
    struct Mode
    {
        const wchar_t *nameId;
        const wchar_t *descriptionId;
        const char *buttonName;
        const char *labelName;
    };

    QRadioButton *addMode(QGridLayout *rows, const Mode &mode, bool offered);

    QRadioButton *m_standard = nullptr;
    QRadioButton *m_async = nullptr;
    QRadioButton *m_tunnel = nullptr;
};
