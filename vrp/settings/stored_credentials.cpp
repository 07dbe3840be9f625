// SPDX-License-Identifier: MIT
#include "vrp/core/VrpMain.h"
#include "vrp/encrypt.h"
#include "vrp/platform/text.h"
#include "vrp/settings/settings_store.h"

namespace {

constexpr int defaultProxyPort = 8080;

} // namespace

void VrpsGetProxyFromRegistry(bool machineOnly)
{
    VrpMain &main = *VrpsGetMain();
    const bool perUser = !machineOnly;
    main.proxyServer = VrpsGetCompanyRegistryKey(settingsGroup, L"ProxyServer", L"", perUser);
    main.proxyPort = defaultProxyPort;
    main.proxyUser.clear();
    main.proxyPassword.clear();
    const std::wstring port = VrpsGetCompanyRegistryKey(settingsGroup, L"ProxyPort", L"", perUser);
    if (!port.empty()) {
        main.proxyPort = decimalPrefix(port);
    }
    if (main.proxyPort < 0) {
        main.proxyPort = defaultProxyPort;
    }
    if (machineOnly) {
        return;
    }
    main.proxyUser = userSetting(L"ProxyUser");
    // The identifier decides, not the proxy user: nobody's proxy password is in memory before they are known.
    if (!main.ident.empty()) {
        main.proxyPassword = VrpsDecryptPassword(userSetting(L"ProxyPassword"));
    }
}

void VrpsSetProxyToRegistry(bool credentialsOnly, bool forgetPassword)
{
    const VrpMain &main = *VrpsGetMain();
    if (!credentialsOnly) {
        setUserSetting(L"ProxyServer", main.proxyServer);
        setUserSetting(L"ProxyPort", std::to_wstring(main.proxyPort));
    }
    setUserSetting(L"ProxyUser", main.proxyUser);
    setUserSetting(L"ProxyPassword",
                   VrpsEncryptPassword(forgetPassword ? std::wstring() : main.proxyPassword));
}

void VrpsGetIdentPasswordFromRegistry()
{
    VrpMain &main = *VrpsGetMain();
    main.password.clear();
    main.ident = userSetting(L"Identifier");
    if (!main.ident.empty()) {
        main.password = VrpsDecryptPassword(userSetting(L"Password"));
    }
}

void VrpsSetIdentPasswordToRegistry()
{
    const VrpMain &main = *VrpsGetMain();
    setUserSetting(L"Identifier", main.ident);
    setUserSetting(L"Password", VrpsEncryptPassword(main.password));
}
