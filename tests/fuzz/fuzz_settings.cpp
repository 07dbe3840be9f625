// SPDX-License-Identifier: MIT
#include "tests/fuzz/fuzz_entry.h"
#include "tests/support/fresh_main.h"
#include "tests/support/settings_folder.h"
#include "vrp/core/resource_strings.h"
#include "vrp/core/resource_table.h"
#include "vrp/platform/text.h"
#include "vrp/settings/installation_settings.h"
#include "vrp/settings/settings_store.h"
#include "vrp/settings/store_access.h"

#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <string>
#include <vector>

// A configuration file, or the settings files of an installed printer, that hold anything at all: whatever is
// read, fields are bounded, lists end, and what is written is read back.

namespace {

constexpr int installChoice = 255;

void writeFile(const QString &path, const QByteArray &bytes)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    ensure(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
}

struct Machine
{
    Machine()
    {
        qputenv("HOME", folder.path().toLocal8Bit());
        copyBounded(main->company, L"Company");
        copyBounded(main->softwareName, L"Software");
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
void storeAndRead(const std::wstring &text)
{
    VrpsSetLastServiceToRegistry(text);
    ensure(VrpsGetLastServiceFromRegistry() == text);
    VrpsWriteServerDirectoriesToRegistry({text}, true);
    VrpsWriteHelpToRegistry({text, L"Main=" + text}, true);
    std::vector<std::wstring> list;
    VrpsGetServerDirectoriesFromRegistry(list, true);
    ensure(text.empty() || text == L"NoEntry" ? list.empty() : list == std::vector<std::wstring>{text});
}

void installFrom(const QString &configFile)
{
    copyBounded(VrpsGetMain()->configFilePath, configFile.toStdWString());
    readConstants();
    VrpMain &main = *VrpsGetMain();
    if (main.printerName[0] != L'\0' && main.company[0] != L'\0' && main.softwareName[0] != L'\0') {
        static_cast<void>(VrpsInstallSetRegistry());
        VrpsInstallRemoveRegistry();
    }
}

/// The names of the stores are made of what the configuration file says; only those of this folder are
/// written.
bool namesFolders(const QByteArray &bytes)
{
    return bytes.contains("..") || bytes.contains('\\') || bytes.contains('/') || bytes.contains('%');
}

} // namespace

// The first byte says which file the rest is: that of a user, that of the machine, a configuration file that
// is read, one that is installed from, or a text to store.
int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0) {
        return 0;
    }
    const QByteArray bytes(reinterpret_cast<const char *>(data + 1), static_cast<int>(size - 1));
    Machine machine;
    const QString configFile = machine.folder.filePath(QStringLiteral("varek.ini"));
    const int choice = data[0] == installChoice ? installChoice : data[0] % 4;
    switch (choice) {
    case 0:
    case 1:
        writeFile(machine.store(choice == 0), bytes);
        readConstants();
        readStores(bytes);
        break;
    case 2:
        writeFile(configFile, bytes);
        copyBounded(VrpsGetMain()->configFilePath, configFile.toStdWString());
        for (const wchar_t *id : resource::installed) {
            static_cast<void>(VrpsLoadConfigString(id));
        }
        readConstants();
        break;
    case installChoice:
        if (!namesFolders(bytes)) {
            writeFile(configFile, bytes);
            installFrom(configFile);
        }
        break;
    default:
        std::wstring text = UTF8tow(bytes.toStdString());
        text.resize(std::min(text.size(), text.find(L'\0')));
        storeAndRead(text);
    }
    return 0;
}
