// SPDX-License-Identifier: MIT
#pragma once

#include <QPoint>
#include <QSize>
#include <QString>

#include <ostream>

/// How the toolkit's values are shown by a test that fails.

inline void PrintTo(const QString &text, std::ostream *out)
{
    *out << '"' << qPrintable(text) << '"';
}

inline void PrintTo(const QPoint &point, std::ostream *out)
{
    *out << point.x() << ',' << point.y();
}

inline void PrintTo(const QSize &size, std::ostream *out)
{
    *out << size.width() << 'x' << size.height();
}
