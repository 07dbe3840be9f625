// SPDX-License-Identifier: MIT
#include "vrp/settings/settings_store.h"

#include "vrp/core/VrpMain.h"
#include "vrp/platform/keyword.h"
#include "vrp/settings/registered_printers.h"
#include "vrp/settings/store_access.h"

#include <QSettings>
#include <QVariant>

#include <algorithm>

namespace {

constexpr wchar_t helpGroup[] = L"Help";
constexpr wchar_t listEnd[] = L"NoEntry"; ///< read back where a list holds no further entry

/// Empties a group and leaves the settings object inside it.
void restartGroup(QSettings &store, const wchar_t *group)
{
    const QString name = QString::fromWCharArray(group);
    store.remove(name);
    store.beginGroup(name);
}

void storeText(QSettings &store, const std::wstring &name, const std::wstring &value)
{
    store.setValue(QString::fromStdWString(name), QString::fromStdWString(value));
}

std::wstring perUserOrMachineWide(const wchar_t *group, const wchar_t *name)
{
    const std::wstring value = VrpsGetCompanyRegistryKey(group, name, L"", true);
    return value.empty() ? VrpsGetCompanyRegistryKey(group, name, L"", false) : value;
}

} // namespace

std::wstring VrpsGetCompanyRegistryKey(const wchar_t *group, const wchar_t *name, const wchar_t *defaultValue,
                                       bool perUser)
{
    const std::wstring fallback = defaultValue != nullptr ? defaultValue : L"";
    const auto store = openCompanyStore(perUser);
    return store ? readSetting(*store, group, name, fallback) : fallback;
}

void VrpsSetCompanyRegistryKey(const wchar_t *group, const wchar_t *name, const wchar_t *value, bool perUser)
{
    if (*name == L'\0') {
        return;
    }
    const auto store = openCompanyStore(perUser, StoreAccess::write);
    if (!store) {
        return;
    }
    store->beginGroup(QString::fromWCharArray(group));
    storeText(*store, name, value);
}

std::wstring userSetting(const wchar_t *name)
{
    return VrpsGetCompanyRegistryKey(settingsGroup, name, L"", true);
}

void setUserSetting(const wchar_t *name, const std::wstring &value)
{
    VrpsSetCompanyRegistryKey(settingsGroup, name, value.c_str(), true);
}

bool VrpsGetCompanyFromRegistry(const std::wstring &printer)
{
    VrpMain &main = *VrpsGetMain();
    const StoreNames names = registeredNames(printer);
    copyBounded(main.company, names.company);
    copyBounded(main.softwareName, names.software);
    return main.company[0] != L'\0' && main.softwareName[0] != L'\0';
}

std::wstring VrpsGetLastServiceFromRegistry()
{
    return userSetting(setting::lastService);
}

void VrpsSetLastServiceToRegistry(const std::wstring &service)
{
    setUserSetting(setting::lastService, service);
}

int VrpsGetLastModeFromRegistry()
{
    return std::max(0, decimalPrefix(userSetting(setting::lastMode)));
}

void VrpsSetLastModeToRegistry(int mode)
{
    setUserSetting(setting::lastMode, std::to_wstring(mode));
}

bool versionCheckEnabled()
{
    return isYes(VrpsGetCompanyRegistryKey(settingsGroup, setting::checkVersion, L"yes", true));
}

std::wstring lastServerDirectory()
{
    return perUserOrMachineWide(settingsGroup, setting::lastDirectory);
}

std::wstring serverDirectoryName(std::size_t index)
{
    return L"Sdir" + std::to_wstring(index);
}

void VrpsGetServerDirectoriesFromRegistry(std::vector<std::wstring> &list, bool perUser)
{
    const auto store = openCompanyStore(perUser);
    if (!store) {
        return;
    }
    std::wstring value;
    for (std::size_t index = 1; value != listEnd; ++index) {
        value = readSetting(*store, serverDirectoriesGroup, serverDirectoryName(index), listEnd);
        if (!value.empty() && value != listEnd) {
            list.push_back(value);
        }
    }
}

void VrpsWriteServerDirectoriesToRegistry(const std::vector<std::wstring> &list, bool perUser)
{
    const auto store = openCompanyStore(perUser, StoreAccess::write);
    if (!store) {
        return;
    }
    restartGroup(*store, serverDirectoriesGroup);
    for (std::size_t i = 0; i < list.size(); ++i) {
        storeText(*store, serverDirectoryName(i + 1), list[i]);
    }
}

void VrpsWriteHelpToRegistry(const std::vector<std::wstring> &entries, bool perUser)
{
    const auto store = openCompanyStore(perUser, StoreAccess::write);
    if (!store) {
        return;
    }
    restartGroup(*store, helpGroup);
    for (const std::wstring &entry : entries) {
        const std::size_t equals = entry.find(L'=');
        if (equals == std::wstring::npos) {
            continue;
        }
        std::wstring name = entry.substr(0, equals);
        std::wstring address = entry.substr(equals + 1);
        VrpsCleanString(name, true);
        VrpsCleanString(address, true);
        if (!name.empty()) {
            storeText(*store, name, address);
        }
    }
}

std::wstring helpAddress(const wchar_t *topic)
{
    return perUserOrMachineWide(helpGroup, topic);
}
