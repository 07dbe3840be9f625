// SPDX-License-Identifier: MIT
#include "tests/gui/DialogTest.h"
#include "vrp/ui/AskServiceDialog.h"
#include "vrp/ui/AskUpdateDialog.h"
#include "vrp/ui/ConfigDialog.h"
#include "vrp/ui/PrintModeDialog.h"
#include "vrp/ui/ProxyUserPasswordDialog.h"
#include "vrp/ui/UserPasswordDialog.h"

#include <QAccessible>
#include <QLayout>

std::vector<std::unique_ptr<QDialog>> everyDialog()
{
    std::vector<std::unique_ptr<QDialog>> dialogs;
    dialogs.push_back(std::make_unique<UserPasswordDialog>());
    dialogs.push_back(std::make_unique<ProxyUserPasswordDialog>());
    dialogs.push_back(std::make_unique<PrintModeDialog>());
    dialogs.push_back(std::make_unique<AskServiceDialog>());
    dialogs.push_back(std::make_unique<AskUpdateDialog>());
    dialogs.push_back(std::make_unique<ConfigDialog>());
    return dialogs;
}

QString DialogTest::shownText(const QWidget &dialog, const char *widget)
{
    if (qstrcmp(widget, "title") == 0) {
        return dialog.windowTitle();
    }
    return child<QWidget>(dialog, widget).property("text").toString();
}

void DialogTest::expectFrame(const QDialog &dialog, const char *defaultButton)
{
    EXPECT_TRUE(dialog.windowFlags().testFlag(Qt::CustomizeWindowHint));
    EXPECT_TRUE(dialog.windowFlags().testFlag(Qt::WindowTitleHint));
    EXPECT_FALSE(dialog.windowFlags().testFlag(Qt::WindowSystemMenuHint));
    EXPECT_FALSE(dialog.windowFlags().testFlag(Qt::WindowCloseButtonHint));
    EXPECT_EQ(dialog.pos(), QPoint(20, 20));
    for (const QPushButton *each : dialog.findChildren<QPushButton *>()) {
        EXPECT_FALSE(each->autoDefault());
        EXPECT_EQ(each->isDefault(), each->objectName() == QLatin1String(defaultButton));
    }
    for (const QLabel *label : dialog.findChildren<QLabel *>()) {
        EXPECT_EQ(label->textFormat(), Qt::PlainText);
    }
    for (QWidget *widget : dialog.findChildren<QWidget *>(QString(), Qt::FindDirectChildrenOnly)) {
        if (widget->focusPolicy() != Qt::NoFocus) {
            EXPECT_FALSE(QAccessible::queryAccessibleInterface(widget)->text(QAccessible::Name).isEmpty())
                << qPrintable(widget->objectName());
        }
    }
}

void DialogTest::expectButtonRow(const QDialog &dialog, const char *left, const char *middle,
                                 const char *right)
{
    const QRect first = button(dialog, left).geometry();
    const QRect second = button(dialog, middle).geometry();
    const QRect third = button(dialog, right).geometry();
    EXPECT_GT(second.left() - first.right(), third.left() - second.right());
    EXPECT_GT(third.left(), second.right());
    EXPECT_EQ(first.top(), third.top());
    for (const QWidget *widget : dialog.findChildren<QWidget *>(QString(), Qt::FindDirectChildrenOnly)) {
        EXPECT_LE(widget->geometry().bottom(), first.bottom()) << qPrintable(widget->objectName());
    }
}

void DialogTest::expectOneBelowTheOther(const QDialog &dialog, const std::vector<const char *> &names)
{
    int bottom = -1;
    for (const char *name : names) {
        EXPECT_GT(child<QWidget>(dialog, name).y(), bottom) << name;
        bottom = child<QWidget>(dialog, name).geometry().bottom();
    }
}

std::vector<std::string> DialogTest::tabOrder(QDialog &dialog)
{
    std::vector<std::string> names;
    const QWidget *first = dialog.focusWidget();
    do {
        names.push_back(dialog.focusWidget()->objectName().toStdString());
        QTest::keyClick(dialog.focusWidget(), Qt::Key_Tab);
    } while (dialog.focusWidget() != first && names.size() < 20);
    return names;
}

/// A field whose text is cut has its end beyond the right edge when it is shown from its beginning.
void DialogTest::expectFieldsWhole(const QDialog &dialog)
{
    for (QLineEdit *edit : dialog.findChildren<QLineEdit *>()) {
        edit->home(false);
        EXPECT_EQ(edit->cursorPositionAt(QPoint(edit->width() - 1, edit->height() / 2)), edit->text().size())
            << edit->objectName().toStdString();
        EXPECT_GE(edit->height(), edit->minimumSizeHint().height()) << edit->objectName().toStdString();
    }
}

void DialogTest::expectNothingCut(const QDialog &dialog)
{
    expectFieldsWhole(dialog);
    const QRect inside = dialog.rect();
    for (const QWidget *widget : dialog.findChildren<QWidget *>()) {
        const auto *label = qobject_cast<const QLabel *>(widget);
        const bool showsText = label || qobject_cast<const QAbstractButton *>(widget);
        if (!showsText || widget->isHidden()) {
            continue;
        }
        const int height = label && label->wordWrap() ? label->heightForWidth(label->width())
                                                      : widget->minimumSizeHint().height();
        const std::string name = widget->objectName().toStdString();
        EXPECT_GE(widget->height(), height) << name;
        EXPECT_GE(widget->width(), widget->minimumSizeHint().width()) << name;
        EXPECT_TRUE(inside.contains(QRect(widget->mapTo(&dialog, QPoint()), widget->size()))) << name;
    }
}
