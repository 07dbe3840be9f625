// SPDX-License-Identifier: MIT
#include "vrp/settings/installation_settings.h"

#include "vrp/core/VrpMain.h"
#include "vrp/core/resource_strings.h"
#include "vrp/core/resource_table.h"
#include "vrp/platform/text.h"
#include "vrp/settings/settings_store.h"
#include "vrp/settings/store_access.h"
#include "vrp/settings/store_check.h"

#include <QSettings>

#include <algorithm>
#include <cstdio>
#include <optional>
#include <vector>

namespace {

constexpr wchar_t notStored[] = L"NoEntryVr";     ///< read back when a write did not land
constexpr wchar_t listEnd[] = L"LAST_SDIR_FOUND"; ///< read where the list of directory servers ends

QString printersGroup()
{
    return QStringLiteral("Printers");
}

QString text(const wchar_t *field)
{
    return QString::fromWCharArray(field);
}

bool registerPrinter(const VrpMain &main)
{
    const auto store = openBootstrapStore(StoreAccess::write);
    if (!store->isWritable()) {
        return false;
    }
    const QString group = printersGroup() + QLatin1Char('/') + text(main.printerName);
    store->setValue(group + QStringLiteral("/Company"), text(main.company));
    store->setValue(group + QStringLiteral("/Software"), text(main.softwareName));
    return isOnDisk(*store) &&
           readSetting(*store, group.toStdWString(), L"Company", notStored) == main.company;
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
    for (int index = 1;; ++index) {
        const std::wstring id = L"ServerDirectories;Sdir" + std::to_wstring(index) + L';' + listEnd;
        const std::wstring directory = VrpsLoadConfigString(id.c_str());
        if (directory == listEnd) {
            return directories;
        }
        if (!directory.empty()) {
            directories.push_back(directory);
        }
    }
}

void removePrinter(QSettings &store, const QString &printer)
{
    // An empty name would stand for the whole group.
    if (printer.isEmpty()) {
        return;
    }
    store.remove(printersGroup() + QLatin1Char('/') + printer);
    store.beginGroup(printersGroup());
    const bool wasLast = store.childGroups().isEmpty();
    store.endGroup();
    if (wasLast) {
        store.remove(printersGroup());
    }
}

struct StoreNames
{
    std::wstring company;
    std::wstring software;
};

/// Removes a printer's entry and tells the names that it held; nothing when that is not possible.
std::optional<StoreNames> unregisterPrinter(const QString &printer)
{
    const auto store = openBootstrapStore(StoreAccess::write);
    if (!store->isWritable()) {
        return std::nullopt;
    }
    const std::wstring group = (printersGroup() + QLatin1Char('/') + printer).toStdWString();
    const StoreNames names{readSetting(*store, group, L"Company", L""),
                           readSetting(*store, group, L"Software", L"")};
    removePrinter(*store, printer);
    return names;
}

} // namespace

bool VrpsInstallSetRegistry()
{
    const VrpMain &main = *VrpsGetMain();
    if (!registerPrinter(main) || !stampCompanyStore(main)) {
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
    const std::optional<StoreNames> names = unregisterPrinter(text(VrpsGetMain()->printerName));
    if (!names) {
        return false;
    }
    if (const auto store = openStore(names->company, names->software, false, StoreAccess::write)) {
        store->remove(QString());
    }
    return true;
}
