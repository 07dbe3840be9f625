// SPDX-License-Identifier: MIT
#include "vrp/settings/stored_credentials.h"

#include "vrp/core/VrpMain.h"
#include "vrp/encrypt.h"
#include "vrp/platform/default_ports.h"
#include "vrp/platform/text.h"
#include "vrp/settings/settings_store.h"

void VrpsGetProxyFromRegistry(bool machineOnly)
{
    VrpMain &main = *VrpsGetMain();
    const bool perUser = !machineOnly;
    main.proxyServer = VrpsGetCompanyRegistryKey(settingsGroup, setting::proxyServer, L"", perUser);
    main.proxyPort = defaultProxyPort;
    main.proxyUser.clear();
    main.proxyPassword.clear();
    const std::wstring port = VrpsGetCompanyRegistryKey(settingsGroup, setting::proxyPort, L"", perUser);
    if (!port.empty()) {
        main.proxyPort = decimalPrefix(port);
    }
    if (main.proxyPort < 0) {
        main.proxyPort = defaultProxyPort;
    }
    if (machineOnly) {
        return;
    }
    main.proxyUser = userSetting(setting::proxyUser);
    // The identifier decides, not the proxy user: nobody's proxy password is in memory before they are known.
    if (!main.ident.empty()) {
        main.proxyPassword = VrpsDecryptPassword(userSetting(setting::proxyPassword));
    }
}

void VrpsSetProxyToRegistry(bool credentialsOnly, bool forgetPassword)
{
    const VrpMain &main = *VrpsGetMain();
    if (!credentialsOnly) {
        setUserSetting(setting::proxyServer, main.proxyServer);
        setUserSetting(setting::proxyPort, std::to_wstring(main.proxyPort));
    }
    setUserSetting(setting::proxyUser, main.proxyUser);
    setUserSetting(setting::proxyPassword,
                   VrpsEncryptPassword(forgetPassword ? std::wstring() : main.proxyPassword));
}

void VrpsGetIdentPasswordFromRegistry()
{
    VrpMain &main = *VrpsGetMain();
    main.password.clear();
    main.ident = userSetting(setting::identifier);
    if (!main.ident.empty()) {
        main.password = VrpsDecryptPassword(userSetting(setting::password));
    }
}

void VrpsSetIdentPasswordToRegistry()
{
    const VrpMain &main = *VrpsGetMain();
    setUserSetting(setting::identifier, main.ident);
    setUserSetting(setting::password, VrpsEncryptPassword(main.password));
}
