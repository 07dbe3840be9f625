// SPDX-License-Identifier: MIT
#include "vrp/settings/store_check.h"

#include <QByteArray>
#include <QFile>
#include <QSettings>
#include <QStringList>

#include <algorithm>

namespace {

bool isEntry(const QByteArray &line)
{
    return line.endsWith('\n') && !line.startsWith('[') && line.contains('=');
}

/// How many whole lines of entries an INI file has: the toolkit writes one entry a line.
qsizetype countEntries(QFile &file)
{
    qsizetype entries = 0;
    // A file that cannot be read has no end either.
    for (QByteArray line = file.readLine(); !line.isEmpty(); line = file.readLine()) {
        entries += isEntry(line) ? 1 : 0;
    }
    return entries;
}

bool isReadable(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) && file.readAll().size() == file.size();
}

} // namespace

bool isReadAs(const QSettings &store, const QString &secondName)
{
    return isReadable(secondName) &&
           QSettings(secondName, QSettings::IniFormat).allKeys().size() == store.allKeys().size();
}

bool isOnDisk(QSettings &store)
{
    store.sync();
    if (store.status() == QSettings::AccessError) {
        return false;
    }
#ifdef Q_OS_MACOS
    return true; // a system service keeps the stores
#else
    QFile file(store.fileName());
    return file.open(QIODevice::ReadOnly) && countEntries(file) == store.allKeys().size();
#endif
}

bool isCutShort(QSettings &store)
{
    // Counted first: a second writing out may read the cut file back.
    const qsizetype expected = store.allKeys().size();
    store.sync();
    QFile file(store.fileName());
    return file.open(QIODevice::ReadOnly) && countEntries(file) < expected;
}
