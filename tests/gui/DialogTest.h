// SPDX-License-Identifier: MIT
#pragma once

#include "tests/gui/GuiTest.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>

#include <memory>
#include <vector>

/// A text of a dialog: the widget that shows it, its resource identifier and its default.
struct DialogText
{
    const char *widget;
    const wchar_t *id;
    const wchar_t *byDefault;
};

/// A new one of each dialog.
[[nodiscard]] std::vector<std::unique_ptr<QDialog>> everyDialog();

/// What holds for every dialog.
class DialogTest : public GuiTest
{
protected:
    static QPushButton &button(const QWidget &dialog, const char *name)
    {
        return child<QPushButton>(dialog, name);
    }

    static void click(const QWidget &dialog, const char *name)
    {
        QTest::mouseClick(&child<QAbstractButton>(dialog, name), Qt::LeftButton);
    }

    /// The visible text of a widget, or the window's title for "title".
    static QString shownText(const QWidget &dialog, const char *widget);

    static void storeHelp(const wchar_t *topic, const wchar_t *address, bool perUser)
    {
        VrpsSetCompanyRegistryKey(L"Help", topic, address, perUser);
    }

    /// Every text is its default, and then what is configured in its place.
    template <typename Dialog>
    void expectTexts(const std::vector<DialogText> &texts)
    {
        for (const DialogText &text : texts) {
            EXPECT_EQ(shownText(Dialog(), text.widget), QString::fromWCharArray(text.byDefault));
            configure(text.id, std::wstring(L"Übersetzt: ") + text.byDefault);
            EXPECT_EQ(shownText(Dialog(), text.widget),
                      QStringLiteral("Übersetzt: ") + QString::fromWCharArray(text.byDefault));
        }
    }

    /// Title bar without system menu and close box, a configured position, buttons and plain texts.
    static void expectFrame(const QDialog &dialog, const char *defaultButton);

    /// In a dialog that is shown: the first button alone at the left, the two others side by side at the
    /// right.
    static void expectButtonRow(const QDialog &dialog, const char *left, const char *middle,
                                const char *right);

    /// In a dialog that is shown: each of these widgets stands below the one before it.
    static void expectOneBelowTheOther(const QDialog &dialog, const std::vector<const char *> &names);

    /// The names of the widgets that Tab visits, in order, from the focused one on.
    static std::vector<std::string> tabOrder(QDialog &dialog);

    /// Nothing is cut: every label, button and box has the room that its text needs, every field shows its
    /// own.
    static void expectNothingCut(const QDialog &dialog);

private:
    static void expectFieldsWhole(const QDialog &dialog);
};
