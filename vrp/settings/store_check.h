// SPDX-License-Identifier: MIT
#pragma once

class QSettings;
class QString;

/// Writes out what was set in a store and tells whether all of it is on the disk now. The toolkit alone would
/// not tell: on a full disk it may cut a file short and report success.
[[nodiscard]] bool isOnDisk(QSettings &store);

/// Whether a store has all of its file in memory, which is read again under a second name. The toolkit alone
/// would not tell: where the disk fails, what it could read is the whole file to it.
[[nodiscard]] bool isReadAs(const QSettings &store, const QString &secondName);

/// Whether a store's file holds fewer entries than the store: it was cut short.
[[nodiscard]] bool isCutShort(QSettings &store);
