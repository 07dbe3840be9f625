// SPDX-License-Identifier: MIT
#include <QApplication>

#include <gtest/gtest.h>

/// Runs tests beside an application object as the send modes have it.
int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);
    QApplication application(argc, argv);
    QApplication::setStyle(QStringLiteral("Fusion"));
    QApplication::setQuitOnLastWindowClosed(false);
    return RUN_ALL_TESTS();
}
