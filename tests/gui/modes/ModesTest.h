// SPDX-License-Identifier: MIT
#pragma once

#include "tests/support/FreshMain.h"
#include "tests/support/PreparedAnswers.h"
#include "tests/support/SettingsFolder.h"

#include <QAbstractButton>
#include <QMessageBox>

#include <gtest/gtest.h>

/// What a user sees of a message box.
struct ShownBox
{
    QString title;
    QString text;
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    QMessageBox::StandardButtons buttons;
    QStringList buttonTexts;
    Qt::TextFormat format = Qt::AutoText;
};

/// A test of what shows boxes: with settings stores of its own.
class ModesTest : public testing::Test
{
protected:
    /// An answer that notes what the box shows and presses a button of it.
    PreparedAnswers::Answer note(ShownBox &shown, QMessageBox::StandardButton button)
    {
        return [&shown, button](QWidget &window) {
            auto &box = dynamic_cast<QMessageBox &>(window);
            shown = {box.windowTitle(), box.text(), box.icon(), box.standardButtons(), {}, box.textFormat()};
            for (const QAbstractButton *shownButton : box.buttons()) {
                shown.buttonTexts.append(shownButton->text());
            }
            box.button(button)->click();
        };
    }

    SettingsFolder m_settings;
    FreshMain m_main;
};
