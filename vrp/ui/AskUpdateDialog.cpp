// SPDX-License-Identifier: MIT
#include "vrp/ui/AskUpdateDialog.h"

#include "vrp/core/VrpMain.h"
#include "vrp/core/resource_table.h"
#include "vrp/ui/resource_text.h"

#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

AskUpdateDialog::AskUpdateDialog() : PromptDialog(resource::dlgUpdateTitle, resource::dlgUpdatePosition)
{
    createDialog();
}

void AskUpdateDialog::createDialog()
{
    setMinimumSize(340, 100);
    column()->addWidget(newLabel(resourceText(resource::dlgUpdateMessageText), "messageLabel"));

    QPushButton *cancel = newButton(resource::dlgUpdateCancelText, "cancelButton");
    QPushButton *no = newButton(resource::dlgUpdateNoText, "noButton");
    QPushButton *yes = newButton(resource::dlgUpdateYesText, "yesButton");
    connect(cancel, &QPushButton::clicked, this, &AskUpdateDialog::onCancel);
    connect(no, &QPushButton::clicked, this, &AskUpdateDialog::onNo);
    connect(yes, &QPushButton::clicked, this, &AskUpdateDialog::onYes);
    addButtonRow(cancel, no, yes);
}

void AskUpdateDialog::onYes()
{
    VrpsGetMain()->updateAnswer = updateYes;
    accept();
}

void AskUpdateDialog::onNo()
{
    VrpsGetMain()->updateAnswer = updateNo;
    accept();
}

void AskUpdateDialog::onCancel()
{
    VrpsGetMain()->updateAnswer = updateCancel;
    reject();
}
