// SPDX-License-Identifier: MIT
#include "vrp/ui/UserPasswordDialog.h"

#include "vrp/core/VrpMain.h"
#include "vrp/core/resource_table.h"
#include "vrp/platform/text.h"
#include "vrp/settings/stored_credentials.h"
#include "vrp/ui/PasswordEdit.h"
#include "vrp/ui/resource_text.h"

#include <QCheckBox>

UserPasswordDialog::UserPasswordDialog() : PromptDialog(resource::dlgIdentTitle, resource::dlgIdentPosition)
{
    createDialog();
}

void UserPasswordDialog::createDialog()
{
    m_ident = new QLineEdit(QString::fromStdWString(VrpsGetMain()->ident), this);
    m_password = new PasswordEdit(this);
    addLabelled(resource::dlgIdentIdentText, "identLabel", m_ident, "identEdit");
    addLabelled(resource::dlgIdentPasswordText, "passwordLabel", m_password, "passwordEdit");

    // An installation forbids keeping passwords by a mark at the end of the text.
    const QString disableMark = QStringLiteral("(disable)");
    QString keepText = resourceText(resource::dlgIdentKeepIdentText);
    const bool keepingForbidden = keepText.endsWith(disableMark);
    if (keepingForbidden) {
        keepText.chop(disableMark.size());
    }
    m_keepPassword = addCheckBox(keepText, "keepPasswordBox");
    m_keepPassword->setDisabled(keepingForbidden);

    addButtons({resource::dlgIdentCancelText, resource::dlgIdentOkText, resource::dlgIdentHelpText,
                L"DlgIdent", L"DlgIdent"});
    (m_ident->text().isEmpty() ? m_ident : m_password)->setFocus();
}

/// The identifier is always remembered; the stored password is cleared unless it is to be kept.
void UserPasswordDialog::onOk()
{
    VrpMain *run = VrpsGetMain();
    run->ident = QString2StdWString(m_ident->text());
    run->password.clear();
    VrpsSetIdentPasswordToRegistry();
    run->password = QString2StdWString(m_password->text());
    if (m_keepPassword->isChecked()) {
        VrpsSetIdentPasswordToRegistry();
    }
    accept();
}
