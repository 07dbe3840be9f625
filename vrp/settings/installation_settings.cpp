// SPDX-License-Identifier: MIT
#include "vrp/settings/installation_settings.h"

#include "vrp/core/VrpMain.h"
#include "vrp/core/resource_strings.h"
#include "vrp/core/resource_table.h"
#include "vrp/platform/text.h"
#include "vrp/settings/registered_printers.h"
#include "vrp/settings/settings_store.h"
#include "vrp/settings/store_access.h"
#include "vrp/settings/store_check.h"

#include <QSettings>

#include <algorithm>
#include <cstdio>
#include <optional>
#include <vector>

namespace {

constexpr wchar_t listEnd[] = L"LAST_SDIR_FOUND"; ///< read where the list of directory servers ends

QString text(const wchar_t *field)
{
    return QString::fromWCharArray(field);
}

bool stampCompanyStore(const VrpMain &main)
{
    const auto store = openCompanyStore(false, StoreAccess::write);
    if (!store || !store->isWritable()) {
        return false;
    }
    store->setValue(QStringLiteral("Copyright"), text(main.copyright));
    store->setValue(QStringLiteral("Version"), text(main.version));
    return isOnDisk(*store);
}

void copyResources(const VrpMain &main)
{
    for (const wchar_t *id : resource::installed) {
        VrpsSetCompanyRegistryKeyFromConfigFile(id);
        if (id == resource::beforeInstallDir) {
            VrpsSetCompanyRegistryKey(L"Printer", L"InstallDir", main.installSourceDir, false);
        }
    }
}

bool holds(const QSettings &store, const wchar_t *id)
{
    const std::optional<ResourceId> fields = splitResourceId(id);
    return fields && store.contains(QString::fromStdWString(fields->section + L'/' + fields->key));
}

/// A disk that fills up in between may have cut what was stored before.
bool isCompanyStoreComplete()
{
    const auto store = openCompanyStore(false);
    return isOnDisk(*store) && std::all_of(std::begin(resource::installed), std::end(resource::installed),
                                           [&](const wchar_t *id) { return holds(*store, id); });
}

void warnOfCutDirectory(const std::wstring &directory)
{
    if (directory.find(L';') == std::wstring::npos) {
        std::fprintf(
            stderr,
            "vrp: the directory server '%s' has no ';': a value of an INI file that holds one must be "
            "quoted\n",
            wtoUTF8(directory).c_str());
    }
}

/// The directory servers to begin with; an empty entry is skipped, a missing one ends the list.
std::vector<std::wstring> initialServerDirectories()
{
    std::vector<std::wstring> directories;
    for (std::size_t index = 1;; ++index) {
        const std::wstring id =
            std::wstring(serverDirectoriesGroup) + L';' + serverDirectoryName(index) + L';' + listEnd;
        const std::wstring directory = VrpsLoadConfigString(id.c_str());
        if (directory == listEnd) {
            return directories;
        }
        if (!directory.empty()) {
            directories.push_back(directory);
        }
    }
}

} // namespace

bool VrpsInstallSetRegistry()
{
    const VrpMain &main = *VrpsGetMain();
    if (!registerPrinter(main.printerName, {main.company, main.softwareName}) || !stampCompanyStore(main)) {
        return false;
    }
    copyResources(main);
    const std::vector<std::wstring> directories = initialServerDirectories();
    std::for_each(directories.begin(), directories.end(), warnOfCutDirectory);
    VrpsWriteServerDirectoriesToRegistry(directories, false);
    VrpsWriteServerDirectoriesToRegistry(directories, true);
    return isCompanyStoreComplete();
}

void VrpsSetCompanyRegistryKeyFromConfigFile(const wchar_t *id)
{
    const std::optional<ResourceId> fields = splitResourceId(id);
    if (!fields) {
        return;
    }
    const bool isNamed = !fields->section.empty() && !fields->key.empty();
    const bool hasConfigFile = VrpsGetMain()->configFilePath[0] != L'\0';
    const std::wstring value = isNamed && hasConfigFile ? configFileText(*fields) : fields->defaultText;
    VrpsSetCompanyRegistryKey(fields->section.c_str(), fields->key.c_str(), value.c_str(), false);
}

bool VrpsInstallRemoveRegistry()
{
    const std::optional<StoreNames> names = unregisterPrinter(VrpsGetMain()->printerName);
    if (!names) {
        return false;
    }
    if (const auto store = openStore(names->company, names->software, false, StoreAccess::write)) {
        store->remove(QString());
    }
    return true;
}
