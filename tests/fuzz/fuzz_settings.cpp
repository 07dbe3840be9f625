// SPDX-License-Identifier: MIT
#include "tests/fuzz/fuzz_entry.h"
#include "tests/support/FreshMain.h"
#include "tests/support/SettingsFolder.h"
#include "vrp/core/resource_strings.h"
#include "vrp/core/resource_table.h"
#include "vrp/platform/text.h"
#include "vrp/settings/installation_settings.h"
#include "vrp/settings/settings_store.h"
#include "vrp/settings/store_access.h"
#include "vrp/settings/stored_credentials.h"

#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

// A configuration file, or the settings files of an installed printer, that hold anything at all: whatever is
// read, fields are bounded, lists end, and what is written is read back. The files lie in the temporary
// folder of the environment; on a disk most of the time goes into waiting for it.

namespace {

constexpr int installChoice = 128;

void writeFile(const QString &path, const QByteArray &bytes)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.flush()) {
        cannotGoOn(path.toLocal8Bit().constData());
    }
}

struct Machine
{
    Machine()
    {
        requireRoom(folder.path().toStdString());
        requireRoom(settings.folder(true).toStdString());
        qputenv("HOME", folder.path().toLocal8Bit());
        copyBounded(main->company, L"Company");
        copyBounded(main->softwareName, L"Software");
    }

    /// What was stored is there, where there was room for it.
    void ensureStored(bool holds) const
    {
        if (!holds) {
            requireRoom(settings.folder(true).toStdString());
        }
        ensure(holds);
    }

    [[nodiscard]] QString store(bool perUser) const
    {
        return settings.file(QStringLiteral("Company"), QStringLiteral("Software"), perUser);
    }

    QTemporaryDir folder;
    SettingsFolder settings;
    FreshMain main;
};

void readConstants()
{
    VrpsLoadResources();
    const VrpMain &main = *VrpsGetMain();
    ensure(std::wstring_view(main.printerName).size() < 256 && std::wstring_view(main.version).size() < 32);
}

void readStores(const QByteArray &bytes)
{
    std::vector<std::wstring> directories;
    VrpsGetServerDirectoriesFromRegistry(directories, true);
    VrpsGetServerDirectoriesFromRegistry(directories, false);
    ensure(directories.size() <= static_cast<std::size_t>(bytes.size()));
    VrpsGetIdentPasswordFromRegistry();
    VrpsGetProxyFromRegistry(false);
    ensure(VrpsGetMain()->proxyPort >= 0 && VrpsGetMain()->password.size() < 255);
    VrpsGetProxyFromRegistry(true);
    ensure(VrpsGetLastModeFromRegistry() >= 0);
    static_cast<void>(VrpsGetLastServiceFromRegistry());
}

/// Any text that is stored comes back as it was.
void storeAndRead(const Machine &machine, const std::wstring &text)
{
    VrpsSetLastServiceToRegistry(text);
    machine.ensureStored(VrpsGetLastServiceFromRegistry() == text);
    VrpsWriteServerDirectoriesToRegistry({text}, true);
    VrpsWriteHelpToRegistry({text, L"Main=" + text}, true);
    std::vector<std::wstring> list;
    VrpsGetServerDirectoriesFromRegistry(list, true);
    const bool endsList = text.empty() || text == L"NoEntry";
    machine.ensureStored(endsList ? list.empty() : list == std::vector<std::wstring>{text});
}

/// One text of a configuration file, as the installation stores it; the others would go the same way.
void installText(const Machine &machine, std::size_t number)
{
    const wchar_t *id = resource::installed[number % std::size(resource::installed)];
    const std::optional<ResourceId> fields = splitResourceId(id);
    const std::wstring wanted = VrpsLoadConfigString(id);
    VrpsSetCompanyRegistryKeyFromConfigFile(id);
    const std::wstring stored =
        VrpsGetCompanyRegistryKey(fields->section.c_str(), fields->key.c_str(), L"not stored", false);
    machine.ensureStored(stored == wanted.substr(0, wanted.find(L'\0'))); // what is written ends there
}

void useConfigurationFile(const Machine &machine, const QByteArray &bytes)
{
    const QString path = machine.folder.filePath(QStringLiteral("varek.ini"));
    writeFile(path, bytes);
    copyBounded(VrpsGetMain()->configFilePath, path.toStdWString());
}

} // namespace

/// The first byte says which file the rest is: that of a user, that of the machine, a configuration file that
/// is read, or a text to store; or, from installChoice on, which text is installed from a configuration file.
int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0) {
        return 0;
    }
    const QByteArray bytes(reinterpret_cast<const char *>(data + 1), static_cast<int>(size - 1));
    Machine machine;
    if (data[0] >= installChoice) {
        useConfigurationFile(machine, bytes);
        installText(machine, data[0] - installChoice);
        return 0;
    }
    switch (data[0] % 4) {
    case 0:
    case 1:
        writeFile(machine.store(data[0] % 4 == 0), bytes);
        readStores(bytes);
        readConstants(); // among them the names of the stores: from here on they are others
        break;
    case 2:
        useConfigurationFile(machine, bytes);
        for (const wchar_t *id : resource::installed) {
            static_cast<void>(VrpsLoadConfigString(id));
        }
        readConstants();
        break;
    default:
        std::wstring text = UTF8tow(bytes.toStdString());
        text.resize(std::min(text.size(), text.find(L'\0')));
        storeAndRead(machine, text);
    }
    return 0;
}
