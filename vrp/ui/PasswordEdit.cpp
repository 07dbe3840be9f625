// SPDX-License-Identifier: MIT
#include "vrp/ui/PasswordEdit.h"

#include <QAccessible>
#include <QAccessibleWidget>

namespace {

class PasswordAccessible : public QAccessibleWidget
{
public:
    explicit PasswordAccessible(QLineEdit *edit) : QAccessibleWidget(edit, QAccessible::EditableText) {}

    [[nodiscard]] QAccessible::State state() const override
    {
        QAccessible::State state = QAccessibleWidget::state();
        state.passwordEdit = true;
        state.editable = true;
        return state;
    }

    [[nodiscard]] QString text(QAccessible::Text kind) const override
    {
        if (kind == QAccessible::Value) {
            return QString(static_cast<QLineEdit *>(object())->text().size(), QLatin1Char('*'));
        }
        return QAccessibleWidget::text(kind);
    }

    void setText(QAccessible::Text kind, const QString &text) override
    {
        if (kind == QAccessible::Value) {
            static_cast<QLineEdit *>(object())->setText(text);
        } else {
            QAccessibleWidget::setText(kind, text);
        }
    }
};

QAccessibleInterface *passwordAccessible(const QString &className, QObject *object)
{
    auto *edit = className == QLatin1String("PasswordEdit") ? qobject_cast<PasswordEdit *>(object) : nullptr;
    return edit ? new PasswordAccessible(edit) : nullptr;
}

} // namespace

PasswordEdit::PasswordEdit(QWidget *parent) : QLineEdit(parent)
{
    QAccessible::installFactory(passwordAccessible); // installing it again changes nothing
    setEchoMode(QLineEdit::Password);
}
