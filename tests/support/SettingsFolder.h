// SPDX-License-Identifier: MIT
#pragma once

#include "tests/support/ScopedVariable.h"
#include "vrp/settings/store_access.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QString>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>
#include <string>

/// A temporary folder that holds both scopes of the settings stores for as long as it lives. Child processes
/// inherit it.
class SettingsFolder
{
public:
    SettingsFolder()
    {
        QDir(m_folder.path()).mkdir(QStringLiteral("user"));
        QDir(m_folder.path()).mkdir(QStringLiteral("machine"));
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, folder(true));
        useMachineWideStoreFolder();
    }

    /// The folder of one scope.
    [[nodiscard]] QString folder(bool perUser) const
    {
        return m_folder.path() + (perUser ? QStringLiteral("/user") : QStringLiteral("/machine"));
    }

    /// The file of a store in one scope, whether it exists or not.
    [[nodiscard]] QString file(const QString &company, const QString &software, bool perUser) const
    {
        return folder(perUser) + QLatin1Char('/') + company + QLatin1Char('/') + software +
               QStringLiteral(".conf");
    }

    [[nodiscard]] QString bootstrapFile() const
    {
        return file(QStringLiteral("Varek Systems"), QStringLiteral("Vrp"), false);
    }

    /// Writes a file with its folders; its bytes are exactly `content`.
    static void write(const QString &path, const QByteArray &content)
    {
        ASSERT_TRUE(QFileInfo(path).dir().mkpath(QStringLiteral(".")));
        QFile out(path);
        ASSERT_TRUE(out.open(QIODevice::WriteOnly));
        ASSERT_EQ(out.write(content), content.size());
    }

    /// Registers a printer as an installation does.
    static void registerPrinter(const QString &printer, const QString &company, const QString &software)
    {
        const auto store = openBootstrapStore();
        store->setValue(QStringLiteral("Printers/") + printer + QStringLiteral("/Company"), company);
        store->setValue(QStringLiteral("Printers/") + printer + QStringLiteral("/Software"), software);
    }

private:
    QTemporaryDir m_folder;
    ScopedVariable m_configHome{"XDG_CONFIG_HOME", folder(true).toStdString()};
    ScopedVariable m_configDirs{"XDG_CONFIG_DIRS", folder(false).toStdString()};
};
