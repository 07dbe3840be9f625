// SPDX-License-Identifier: MIT
#pragma once

#include <QSettings>
#include <QTextStream>

/// The one difference between Qt 5 and Qt 6 that the program meets: Qt 6 reads and writes settings and text
/// streams in UTF-8, Qt 5 must be told to, and for settings before anything is read.

inline void useUtf8([[maybe_unused]] QSettings &settings)
{
#if QT_VERSION_MAJOR < 6
    settings.setIniCodec("UTF-8");
#endif
}

inline void useUtf8([[maybe_unused]] QTextStream &stream)
{
#if QT_VERSION_MAJOR < 6
    stream.setCodec("UTF-8");
#endif
}
