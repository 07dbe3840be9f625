// SPDX-License-Identifier: MIT
#include "vrp/ui/PrintModeDialog.h"

#include "vrp/core/VrpMain.h"
#include "vrp/core/resource_table.h"
#include "vrp/settings/settings_store.h"
#include "vrp/ui/offered_choices.h"
#include "vrp/ui/resource_text.h"

#include <QGridLayout>
#include <QLabel>
#include <QRadioButton>
#include <QVBoxLayout>

#include <algorithm>

PrintModeDialog::PrintModeDialog() : PromptDialog(resource::dlgPrintModeTitle, resource::dlgPrintModePosition)
{
    createDialog();
}

void PrintModeDialog::createDialog()
{
    const VrpMain *run = VrpsGetMain();
    setMinimumSize(470, 260);
    // The least widths of the two columns leave 20 pixels of it.
    const QMargins margins = column()->contentsMargins();
    column()->setContentsMargins(7, margins.top(), 7, margins.bottom());
    column()->addWidget(newLabel(resourceText(resource::dlgPrintModeChooseText), "headingLabel"));
    column()->addSpacing(20);

    auto *rows = new QGridLayout;
    rows->setHorizontalSpacing(6);
    rows->setColumnStretch(1, 1);
    m_standard = addMode(rows,
                         {resource::dlgPrintModeStandard, resource::dlgPrintModeStandardText,
                          "standardButton", "standardLabel"},
                         run->standardModeOffered);
    m_async = addMode(
        rows, {resource::dlgPrintModeAsync, resource::dlgPrintModeAsyncText, "asyncButton", "asyncLabel"},
        run->asyncModeOffered);
    m_tunnel = addMode(
        rows, {resource::dlgPrintModeTunnel, resource::dlgPrintModeTunnelText, "tunnelButton", "tunnelLabel"},
        run->tunnelModeOffered);
    column()->addLayout(rows);

    addButtons({resource::dlgPrintModeCancelText, resource::dlgPrintModeOkText,
                resource::dlgPrintModeHelpText, L"DlgPrintMode", L"DlgPrintMode"});

    const int mode = preselectedPrintMode(VrpsGetLastModeFromRegistry(), run->standardModeOffered,
                                          run->asyncModeOffered, run->tunnelModeOffered);
    QRadioButton *preselected =
        mode == printModeTunnel ? m_tunnel : (mode == printModeAsync ? m_async : m_standard);
    preselected->setChecked(true);
    preselected->setFocus();
}

/// One row: the mode's button and its description beside it.
QRadioButton *PrintModeDialog::addMode(QGridLayout *rows, const Mode &mode, bool offered)
{
    auto *button = new QRadioButton(resourceText(mode.nameId), this);
    button->setObjectName(QLatin1String(mode.buttonName));
    button->ensurePolished();
    button->setMinimumWidth(std::max(150, button->minimumSizeHint().width()));
    button->setEnabled(offered);

    QLabel *description = newLabel(resourceText(mode.descriptionId), mode.labelName);
    description->setWordWrap(true);
    description->ensurePolished();
    // With a large font lines of a few words would make the dialog higher than a screen.
    const int thirtyCharacters = 30 * description->fontMetrics().averageCharWidth();
    description->setMinimumSize(std::max(300, thirtyCharacters), 50);
    description->setBuddy(button);
    button->setAccessibleDescription(description->text());

    const int row = rows->rowCount();
    rows->addWidget(button, row, 0);
    rows->addWidget(description, row, 1);
    return button;
}

void PrintModeDialog::onOk()
{
    const int mode = m_tunnel->isChecked()  ? printModeTunnel
                     : m_async->isChecked() ? printModeAsync
                                            : printModeStandard;
    VrpsGetMain()->printMode = mode;
    VrpsSetLastModeToRegistry(mode);
    accept();
}
