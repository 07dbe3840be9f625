// SPDX-License-Identifier: MIT
#include "vrp/ui/ConfigDialog.h"

#include "vrp/core/VrpMain.h"
#include "vrp/core/resource_table.h"
#include "vrp/platform/text.h"
#include "vrp/settings/settings_store.h"
#include "vrp/settings/stored_credentials.h"
#include "vrp/ui/resource_text.h"

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

#include <algorithm>

namespace {

QString storedText(const wchar_t *name, bool perUser)
{
    return QString::fromStdWString(VrpsGetCompanyRegistryKey(settingsGroup, name, L"", perUser));
}

void storeText(const wchar_t *name, const QString &value, bool perUser)
{
    VrpsSetCompanyRegistryKey(settingsGroup, name, QString2StdWString(value).c_str(), perUser);
}

/// A width at which a line edit shows a text whole: frame and margins take less than the field is high.
int widthForText(const QLineEdit &edit, const QString &text)
{
    return edit.fontMetrics().horizontalAdvance(text) + edit.sizeHint().height();
}

} // namespace

ConfigDialog::ConfigDialog() : PromptDialog(resource::dlgConfigTitle, resource::dlgConfigPosition)
{
    createDialog();
}

void ConfigDialog::createDialog()
{
    setMinimumSize(350, 270);
    m_directory = new QLineEdit(QString::fromStdWString(lastServerDirectory()), this);
    addLabelled(resource::dlgConfigDirectoryText, "directoryLabel", m_directory, "directoryEdit");

    // Server and port go together: both are the machine's when the user has no server.
    const bool perUser = !storedText(setting::proxyServer, true).isEmpty();
    m_proxyServer = new QLineEdit(storedText(setting::proxyServer, perUser), this);
    addLabelled(resource::dlgConfigProxyServerText, "proxyServerLabel", m_proxyServer, "proxyServerEdit");
    addProxyPort(storedText(setting::proxyPort, perUser));

    addCheckBoxes();
    column()->addWidget(
        newLabel(resourceText(resource::dlgConfigVersionText) + resourceText(resource::softwareVersion),
                 "versionLabel"));
    addButtons({resource::dlgConfigCancelText, resource::dlgConfigOkText, resource::dlgConfigHelpText,
                L"DlgConfig", L"DlgConfig"});
    m_directory->setFocus();
}

void ConfigDialog::addProxyPort(const QString &port)
{
    m_proxyPort = new QLineEdit(port, this);
    m_proxyPort->setObjectName(QStringLiteral("proxyPortEdit"));
    QLabel *label = newLabel(resourceText(resource::dlgConfigProxyPortText), "proxyPortLabel");
    label->setBuddy(m_proxyPort);
    label->ensurePolished();
    label->setMaximumWidth(std::max(40, label->minimumSizeHint().width()));
    m_proxyPort->ensurePolished();
    m_proxyPort->setMaximumWidth(std::max(80, widthForText(*m_proxyPort, QStringLiteral("65535"))));

    auto *row = new QHBoxLayout;
    row->addWidget(label);
    row->addWidget(m_proxyPort);
    row->addStretch();
    column()->addLayout(row);
}

void ConfigDialog::addCheckBoxes()
{
    m_checkVersion = addCheckBox(resourceText(resource::dlgConfigCheckVersionText), "checkVersionBox");
    m_checkVersion->setChecked(versionCheckEnabled());
    m_forgetIdentity = addCheckBox(resourceText(resource::dlgConfigUnsavePasswordText), "unsavePasswordBox");
    m_forgetProxyCredentials =
        addCheckBox(resourceText(resource::dlgConfigUnsaveProxyPasswordText), "unsaveProxyPasswordBox");
}

void ConfigDialog::onOk()
{
    storeServers();
    storeText(setting::checkVersion,
              m_checkVersion->isChecked() ? QStringLiteral("yes") : QStringLiteral("no"), true);
    if (m_forgetIdentity->isChecked()) {
        forgetIdentity();
    }
    if (m_forgetProxyCredentials->isChecked()) {
        forgetProxyCredentials();
    }
    accept();
}

void ConfigDialog::storeServers() const
{
    storeText(setting::lastDirectory, m_directory->text(), true);
    storeText(setting::lastDirectory, m_directory->text(), false);
    storeText(setting::proxyServer, m_proxyServer->text(), true);
    storeText(setting::proxyPort, m_proxyPort->text(), true);
}

void ConfigDialog::forgetIdentity() const
{
    VrpsGetMain()->ident.clear();
    VrpsGetMain()->password.clear();
    VrpsSetIdentPasswordToRegistry();
}

/// The fields cleared are the proxy server and the login password, on purpose: the proxy user is empty in
/// configure mode, which never loads it, and so an empty user and an enciphered empty password are stored.
void ConfigDialog::forgetProxyCredentials() const
{
    VrpsGetMain()->proxyServer.clear();
    VrpsGetMain()->password.clear();
    VrpsSetProxyToRegistry(true, true);
}
