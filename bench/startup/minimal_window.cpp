// SPDX-License-Identifier: MIT
// The least that a program of this toolkit does to show a text: one label. It ends as soon as the window has
// been painted on the screen.

#include <QApplication>
#include <QLabel>
#include <QWindow>

#include <unistd.h>

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    QLabel label(QStringLiteral("Connecting the directory..."));
    label.resize(450, 70);
    label.move(50, 50);
    label.show();
    while (!label.windowHandle()->isExposed()) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    QCoreApplication::processEvents();
    _exit(0);
}
