// SPDX-License-Identifier: MIT
#include "vrp/ui/window_placement.h"

#include <QApplication>
#include <QScreen>
#include <QStyle>
#include <QWidget>

#include <algorithm>

namespace {

/// `wanted` moved by as little as puts the whole window into the area; a window larger than the area keeps
/// its top left corner in it, where the title is.
QPoint positionInside(const QRect &area, QPoint wanted, QSize window)
{
    const int right = std::max(area.left(), area.left() + area.width() - window.width());
    const int bottom = std::max(area.top(), area.top() + area.height() - window.height());
    return {std::clamp(wanted.x(), area.left(), right), std::clamp(wanted.y(), area.top(), bottom)};
}

/// In 64 bits: configured positions reach up to the largest integer.
qint64 distance(QPoint a, QPoint b)
{
    return std::max(std::abs(qint64{a.x()} - b.x()), std::abs(qint64{a.y()} - b.y()));
}

/// As QRect::intersects, without its overflow beside the largest integer.
bool titleIsOn(const QRect &screen, QPoint position, QSize title)
{
    return position.x() < screen.left() + screen.width() && position.y() < screen.top() + screen.height() &&
           qint64{position.x()} + title.width() > screen.left() &&
           qint64{position.y()} + title.height() > screen.top();
}

} // namespace

QPoint visiblePosition(QPoint wanted, QSize titleArea, QSize window, const QList<ScreenArea> &screens)
{
    const auto showsTitle = [&](const ScreenArea &screen) {
        return titleIsOn(screen.whole, wanted, titleArea);
    };
    if (screens.isEmpty() || std::any_of(screens.begin(), screens.end(), showsTitle))
        return wanted;
    QPoint nearest = positionInside(screens.first().usable, wanted, window);
    for (const ScreenArea &screen : screens) {
        const QPoint candidate = positionInside(screen.usable, wanted, window);
        if (distance(candidate, wanted) < distance(nearest, wanted))
            nearest = candidate;
    }
    return nearest;
}

void placeVisibly(QWidget &window)
{
    QList<ScreenArea> screens;
    for (const QScreen *screen : QGuiApplication::screens())
        screens.append({screen->geometry(), screen->availableGeometry()});
    // The frame is known only once a window manager has put it around the window.
    const int titleHeight = window.style()->pixelMetric(QStyle::PM_TitleBarHeight, nullptr, &window);
    const QPoint position =
        visiblePosition(window.pos(), {window.width(), titleHeight}, window.frameGeometry().size(), screens);
    if (position != window.pos())
        window.move(position);
}
