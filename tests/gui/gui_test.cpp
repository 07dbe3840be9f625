// SPDX-License-Identifier: MIT
#include "tests/gui/GuiTest.h"

#include <QProcess>
#include <QWindow>

namespace {

/// What xwininfo says of a window.
QByteArray mapState(WId id)
{
    QProcess process;
    process.start(QStringLiteral("xwininfo"), {QStringLiteral("-id"), QString::number(id)});
    if (!process.waitForFinished(10000) || process.exitStatus() != QProcess::NormalExit) {
        qFatal("xwininfo does not run: install the package x11-utils");
    }
    return process.readAllStandardOutput();
}

} // namespace

bool isOnScreen(const QWidget &window)
{
    if (QGuiApplication::platformName() != QLatin1String("xcb")) {
        return window.windowHandle()->isExposed();
    }
    return mapState(window.winId()).contains("Map State: IsViewable");
}
