// SPDX-License-Identifier: MIT
#include "tests/gui/DialogTest.h"

#include <QAccessible>

#include <algorithm>

namespace {

/// Windows without a mouse, and for people who hear them read.
class WithoutMouse : public DialogTest
{
protected:
    WithoutMouse()
    {
        m_run->standardModeOffered = m_run->asyncModeOffered = m_run->tunnelModeOffered = true;
        m_run->services = {L"1;Archive", L"2;Mail room"};
        for (const wchar_t *topic :
             {L"DlgIdent", L"DlgProxy", L"DlgPrintMode", L"DlgService", L"DlgConfig"}) {
            storeHelp(topic, L"https://print.example/help", true);
        }
    }

    /// The controls that a person can use now; of a group of radio buttons the chosen one, to which Tab goes.
    static std::vector<std::string> usableControls(const QDialog &dialog)
    {
        std::vector<std::string> names;
        for (const QWidget *widget : dialog.findChildren<QWidget *>(QString(), Qt::FindDirectChildrenOnly)) {
            const auto *radio = qobject_cast<const QRadioButton *>(widget);
            const bool isReached = widget->isVisible() && widget->isEnabled() &&
                                   widget->focusPolicy() & Qt::TabFocus && (!radio || radio->isChecked());
            if (isReached) {
                names.push_back(widget->objectName().toStdString());
            }
        }
        std::sort(names.begin(), names.end());
        return names;
    }
};

TEST_F(WithoutMouse, the_tab_key_reaches_every_control_of_every_dialog)
{
    for (const std::unique_ptr<QDialog> &dialog : everyDialog()) {
        SCOPED_TRACE(qPrintable(dialog->windowTitle()));
        dialog->show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(dialog.get()));
        std::vector<std::string> reached = tabOrder(*dialog);
        std::sort(reached.begin(), reached.end());
        EXPECT_EQ(reached, usableControls(*dialog));
        EXPECT_GE(reached.size(), 2U);
    }
}

TEST_F(WithoutMouse, the_escape_key_ends_every_dialog_as_cancel_does)
{
    for (const std::unique_ptr<QDialog> &dialog : everyDialog()) {
        SCOPED_TRACE(qPrintable(dialog->windowTitle()));
        dialog->show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(dialog.get()));
        QTest::keyClick(dialog->focusWidget(), Qt::Key_Escape);
        EXPECT_FALSE(dialog->isVisible());
    }
}

TEST_F(WithoutMouse, every_control_is_read_with_its_name_and_what_it_is)
{
    for (const std::unique_ptr<QDialog> &dialog : everyDialog()) {
        SCOPED_TRACE(qPrintable(dialog->windowTitle()));
        dialog->show();
        const QAccessibleInterface *window = QAccessible::queryAccessibleInterface(dialog.get());
        EXPECT_EQ(window->role(), QAccessible::Dialog);
        EXPECT_EQ(window->text(QAccessible::Name), dialog->windowTitle());
        EXPECT_GE(window->childCount(), 3);
        for (int i = 0; i < window->childCount(); ++i) {
            const QAccessibleInterface *control = window->child(i);
            EXPECT_FALSE(control->text(QAccessible::Name).isEmpty())
                << qPrintable(control->object()->objectName());
            EXPECT_NE(control->role(), QAccessible::NoRole) << qPrintable(control->object()->objectName());
            EXPECT_NE(control->role(), QAccessible::Client) << qPrintable(control->object()->objectName());
        }
    }
}

} // namespace
