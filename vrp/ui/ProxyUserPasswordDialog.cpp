// SPDX-License-Identifier: MIT
#include "vrp/ui/ProxyUserPasswordDialog.h"

#include "vrp/core/VrpMain.h"
#include "vrp/core/resource_table.h"
#include "vrp/platform/text.h"
#include "vrp/settings/stored_credentials.h"
#include "vrp/ui/PasswordEdit.h"
#include "vrp/ui/resource_text.h"

#include <QCheckBox>

ProxyUserPasswordDialog::ProxyUserPasswordDialog()
    : PromptDialog(resource::dlgProxyTitle, resource::dlgProxyPosition)
{
    createDialog();
}

void ProxyUserPasswordDialog::createDialog()
{
    m_user = new QLineEdit(QString::fromStdWString(VrpsGetMain()->proxyUser), this);
    m_password = new PasswordEdit(this);
    addLabelled(resource::dlgProxyUserText, "userLabel", m_user, "userEdit");
    addLabelled(resource::dlgProxyPasswordText, "passwordLabel", m_password, "passwordEdit");
    m_keepPassword = addCheckBox(resourceText(resource::dlgProxyKeepPasswordText), "keepPasswordBox");
    // The button appears with the identifier dialog's address and opens its own, on purpose.
    addButtons({resource::dlgProxyCancelText, resource::dlgProxyOkText, resource::dlgProxyHelpText,
                L"DlgIdent", L"DlgProxy"});
    (m_user->text().isEmpty() ? m_user : m_password)->setFocus();
}

void ProxyUserPasswordDialog::onOk()
{
    VrpMain *run = VrpsGetMain();
    run->proxyUser = QString2StdWString(m_user->text());
    run->proxyPassword = QString2StdWString(m_password->text());
    run->saveProxyPassword = m_keepPassword->isChecked();
    VrpsSetProxyToRegistry(true, !run->saveProxyPassword);
    accept();
}
