// SPDX-License-Identifier: MIT
#include "vrp/ui/window_placement.h"

#include "vrp/core/resource_strings.h"
#include "vrp/ui/entry_values.h"

#include <QApplication>
#include <QScreen>
#include <QStyle>
#include <QWidget>

#include <algorithm>
#include <cmath>

namespace {

/// `wanted` moved by as little as puts the whole window into the area; a window larger than the area keeps
/// its top left corner in it, where the title is.
QPoint positionInside(const QRect &area, QPoint wanted, QSize window)
{
    const int right = std::max(area.left(), area.left() + area.width() - window.width());
    const int bottom = std::max(area.top(), area.top() + area.height() - window.height());
    return {std::clamp(wanted.x(), area.left(), right), std::clamp(wanted.y(), area.top(), bottom)};
}

double distance(QPoint a, QPoint b)
{
    const QPointF way = QPointF(a) - QPointF(b);
    return std::hypot(way.x(), way.y());
}

/// As QRect::intersects, without its overflow beside the largest integer.
bool titleIsOn(const QRect &screen, QPoint position, QSize title)
{
    return position.x() < screen.left() + screen.width() && position.y() < screen.top() + screen.height() &&
           qint64{position.x()} + title.width() > screen.left() &&
           qint64{position.y()} + title.height() > screen.top();
}

int titleHeight(const QWidget &window)
{
    return window.style()->pixelMetric(QStyle::PM_TitleBarHeight, nullptr, &window);
}

/// What the frame will add to the size of a window. A window manager says so only once it has put the frame
/// around the window, so the style's measures for windows inside a window stand in.
QSize frameSize(const QWidget &window)
{
    if (window.windowFlags().testFlag(Qt::FramelessWindowHint)) {
        return {0, 0};
    }
    const int border = window.style()->pixelMetric(QStyle::PM_MdiSubWindowFrameWidth, nullptr, &window);
    return {2 * border, titleHeight(window) + border};
}

} // namespace

QPoint visiblePosition(QPoint wanted, QSize titleArea, QSize window, const QList<ScreenArea> &screens)
{
    const auto showsTitle = [&](const ScreenArea &screen) {
        return titleIsOn(screen.whole, wanted, titleArea);
    };
    if (screens.isEmpty() || std::any_of(screens.begin(), screens.end(), showsTitle)) {
        return wanted;
    }
    QPoint nearest = positionInside(screens.first().usable, wanted, window);
    for (const ScreenArea &screen : screens) {
        const QPoint candidate = positionInside(screen.usable, wanted, window);
        if (distance(candidate, wanted) < distance(nearest, wanted)) {
            nearest = candidate;
        }
    }
    return nearest;
}

QPoint configuredPosition(const wchar_t *id)
{
    constexpr int farthest = 1000000;
    int x = 0;
    int y = 0;
    parsePosition(VrpsLoadConfigString(id), x, y);
    return {std::min(x, farthest), std::min(y, farthest)};
}

void placeVisibly(QWidget &window)
{
    QList<ScreenArea> screens;
    for (const QScreen *screen : QGuiApplication::screens()) {
        screens.append({screen->geometry(), screen->availableGeometry()});
    }
    const QSize frame = frameSize(window);
    const QSize title(window.width(), std::max(frame.height(), titleHeight(window)));
    const QPoint position = visiblePosition(window.pos(), title, window.size() + frame, screens);
    if (position != window.pos()) {
        window.move(position);
    }
}
