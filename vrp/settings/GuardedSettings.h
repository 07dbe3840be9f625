// SPDX-License-Identifier: MIT
#pragma once

#include <QSettings>

#ifdef Q_OS_MACOS
using GuardedSettings = QSettings; ///< a system service keeps the stores
#else

#include "vrp/settings/StoreLock.h"

/// A store that is opened for one writing operation. No other process of this program writes it meanwhile.
/// Until it is known that the new file is whole, the old one is kept under a second name. The new file has
/// a later time than the old one, by which other processes know that theirs is out of date.
/// Nothing may be set in a store that was not read whole: its file would lose what was not read.
class GuardedSettings : public QSettings
{
public:
    GuardedSettings(Scope scope, const QString &organisation, const QString &application);
    ~GuardedSettings() override;
    GuardedSettings(const GuardedSettings &) = delete;
    GuardedSettings &operator=(const GuardedSettings &) = delete;

    [[nodiscard]] bool isReadWhole() const { return m_isReadWhole; }

private:
    /// Takes the lock for granted.
    void keepFile();
    void readWhole();

    QByteArray m_file;
    QByteArray m_kept;
    StoreLock m_lock;
    bool m_isKept = false;
    bool m_isReadWhole = true;
};

#endif
