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

/// Whether an INI file has a whole line for each key: the toolkit writes one entry a line.
bool hasEntries(QFile &file, qsizetype expected)
{
    qsizetype entries = 0;
    while (!file.atEnd()) {
        entries += isEntry(file.readLine()) ? 1 : 0;
    }
    return entries == expected;
}

} // namespace

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
    return file.open(QIODevice::ReadOnly) && hasEntries(file, store.allKeys().size());
#endif
}
