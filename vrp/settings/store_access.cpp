// SPDX-License-Identifier: MIT
#include "vrp/settings/store_access.h"

#include "vrp/core/PrivateFiles.h"
#include "vrp/core/VrpMain.h"
#include "vrp/core/utf8_codec.h"
#include "vrp/platform/text.h"
#include "vrp/settings/GuardedSettings.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QStringList>
#include <QVariant>

namespace {

/// Null when the store's file cannot be read.
std::unique_ptr<QSettings> openGuarded(QSettings::Scope scope, const QString &organisation,
                                       const QString &application)
{
    auto settings = std::make_unique<GuardedSettings>(scope, organisation, application);
#ifndef Q_OS_MACOS
    if (!settings->isReadWhole()) {
        return nullptr;
    }
#endif
    return settings;
}

/// Opened for reading it is never null.
std::unique_ptr<QSettings> openNative(QSettings::Scope scope, const QString &organisation,
                                      const QString &application, StoreAccess access)
{
    auto settings = access == StoreAccess::write ? openGuarded(scope, organisation, application)
                                                 : std::make_unique<QSettings>(QSettings::NativeFormat, scope,
                                                                               organisation, application);
    if (settings) {
        settings->setFallbacksEnabled(false);
        useUtf8(*settings);
    }
    return settings;
}

/// Creates an empty file for its owner alone where there is none: the toolkit would let everybody read it.
/// Where a system service keeps the stores (macOS), they are private already.
void createPrivateFile([[maybe_unused]] const QString &path)
{
#ifndef Q_OS_MACOS
    const PrivateFiles privateFiles;
    if (!QFileInfo::exists(path) && QDir().mkpath(QFileInfo(path).path())) {
        static_cast<void>(QFile(path).open(QIODevice::WriteOnly | QIODevice::NewOnly));
    }
#endif
}

} // namespace

QString machineWideStoreFolder(const QString &configDirs)
{
    const QString defaultFolder = QStringLiteral("/etc/xdg");
    QStringList folders;
    for (const QString &entry : configDirs.split(QLatin1Char(':'))) {
        if (QDir::isAbsolutePath(entry)) {
            folders.append(QDir::cleanPath(entry));
        }
    }
    return folders.isEmpty() || folders.contains(defaultFolder) ? defaultFolder : folders.first();
}

void useMachineWideStoreFolder()
{
    const QString configDirs = QString::fromLocal8Bit(qgetenv("XDG_CONFIG_DIRS"));
    QSettings::setPath(QSettings::NativeFormat, QSettings::SystemScope, machineWideStoreFolder(configDirs));
}

std::unique_ptr<QSettings> openBootstrapStore(StoreAccess access)
{
    return openNative(QSettings::SystemScope, QStringLiteral("Varek Systems"), QStringLiteral("Vrp"), access);
}

std::unique_ptr<QSettings> openStore(const std::wstring &company, const std::wstring &software, bool perUser,
                                     StoreAccess access)
{
    if (company.empty() || software.empty()) {
        return nullptr;
    }
    return openNative(perUser ? QSettings::UserScope : QSettings::SystemScope,
                      QString::fromStdWString(company), QString::fromStdWString(software), access);
}

std::unique_ptr<QSettings> openCompanyStore(bool perUser, StoreAccess access)
{
    auto store = openStore(VrpsGetMain()->company, VrpsGetMain()->softwareName, perUser, access);
    if (store && perUser && access == StoreAccess::write) {
        createPrivateFile(store->fileName());
    }
    return store;
}

std::unique_ptr<QSettings> openIniFile(const std::wstring &path)
{
    QString file = QString::fromStdWString(path);
    // A pipe or a device would block or never end; what is no file has no entries.
    if (QFileInfo::exists(file) && !QFileInfo(file).isFile()) {
        file = QStringLiteral("/dev/null");
    }
    auto settings = std::make_unique<QSettings>(file, QSettings::IniFormat);
    settings->setFallbacksEnabled(false);
    useUtf8(*settings);
    return settings;
}

std::wstring settingText(const QVariant &value)
{
    if (value.userType() == QMetaType::QStringList || value.userType() == QMetaType::QVariantList) {
        return QString2StdWString(value.toStringList().join(QStringLiteral(", ")));
    }
    return QString2StdWString(value.toString());
}

std::wstring readSetting(QSettings &settings, const std::wstring &group, const std::wstring &name,
                         const std::wstring &defaultValue)
{
    if (name.empty()) {
        return defaultValue;
    }
    settings.beginGroup(QString::fromStdWString(group));
    const QVariant value =
        settings.value(QString::fromStdWString(name), QString::fromStdWString(defaultValue));
    settings.endGroup();
    return settingText(value);
}
