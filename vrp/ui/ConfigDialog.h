// SPDX-License-Identifier: MIT
#pragma once

#include "vrp/ui/PromptDialog.h"

/// The settings of one printer: directory server, proxy, version checking, and forgetting of stored
/// credentials. Ok writes them to the settings store; Cancel writes nothing.
class ConfigDialog : public PromptDialog
{
    Q_OBJECT

public:
    ConfigDialog();

protected Q_SLOTS:
    void onOk() override;

private:
    void createDialog();
    void addProxyPort(const QString &port);
    void addCheckBoxes();
    void storeServers() const;
    void forgetIdentity() const;
    void forgetProxyCredentials() const;

    QLineEdit *m_directory = nullptr;
    QLineEdit *m_proxyServer = nullptr;
    QLineEdit *m_proxyPort = nullptr;
    QCheckBox *m_checkVersion = nullptr;
    QCheckBox *m_forgetIdentity = nullptr;
    QCheckBox *m_forgetProxyCredentials = nullptr;
};
