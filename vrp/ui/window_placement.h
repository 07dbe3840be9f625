// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QPoint>
#include <QRect>
#include <QSize>

class QWidget;

/// A screen: all of it, and what panels leave of it.
struct ScreenArea
{
    QRect whole;
    QRect usable;
};

/// Where a window goes, in screen coordinates: exactly where it wants to be as long as any part of its title
/// area is on some screen, otherwise the nearest place at which all of it is visible.
[[nodiscard]] QPoint visiblePosition(QPoint wanted, QSize titleArea, QSize window,
                                     const QList<ScreenArea> &screens);

/// The position that a resource entry holds; see parsePosition. Coordinates end at a million pixels: beyond,
/// the toolkit's geometry would overflow, and no screen is that far away.
[[nodiscard]] QPoint configuredPosition(const wchar_t *id);

/// Moves a window that is about to be shown to a visible position.
void placeVisibly(QWidget &window);
