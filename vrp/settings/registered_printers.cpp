// SPDX-License-Identifier: MIT
#include "vrp/settings/registered_printers.h"

#include "vrp/settings/store_access.h"
#include "vrp/settings/store_check.h"

#include <QSettings>

namespace {

constexpr wchar_t printersGroup[] = L"Printers";
constexpr wchar_t company[] = L"Company";
constexpr wchar_t software[] = L"Software";
constexpr wchar_t notStored[] = L"NoEntryVr"; ///< read back when a write did not land

std::wstring groupOf(const std::wstring &printer)
{
    return std::wstring(printersGroup) + L'/' + printer;
}

StoreNames namesIn(QSettings &store, const std::wstring &printer)
{
    const std::wstring group = groupOf(printer);
    return {readSetting(store, group, company, L""), readSetting(store, group, software, L"")};
}

void setName(QSettings &store, const std::wstring &printer, const wchar_t *name, const std::wstring &value)
{
    store.setValue(QString::fromStdWString(groupOf(printer) + L'/' + name), QString::fromStdWString(value));
}

void removeEntry(QSettings &store, const std::wstring &printer)
{
    // An empty name would stand for the whole group.
    if (printer.empty()) {
        return;
    }
    const QString printers = QString::fromWCharArray(printersGroup);
    store.remove(QString::fromStdWString(groupOf(printer)));
    store.beginGroup(printers);
    const bool wasLast = store.childGroups().isEmpty();
    store.endGroup();
    if (wasLast) {
        store.remove(printers);
    }
}

} // namespace

StoreNames registeredNames(const std::wstring &printer)
{
    return namesIn(*openBootstrapStore(), printer);
}

bool registerPrinter(const std::wstring &printer, const StoreNames &names)
{
    const auto store = openBootstrapStore(StoreAccess::write);
    if (!store || !store->isWritable()) {
        return false;
    }
    setName(*store, printer, company, names.company);
    setName(*store, printer, software, names.software);
    return isOnDisk(*store) && readSetting(*store, groupOf(printer), company, notStored) == names.company;
}

std::optional<StoreNames> unregisterPrinter(const std::wstring &printer)
{
    const auto store = openBootstrapStore(StoreAccess::write);
    if (!store || !store->isWritable()) {
        return std::nullopt;
    }
    const StoreNames names = namesIn(*store, printer);
    removeEntry(*store, printer);
    return names;
}
