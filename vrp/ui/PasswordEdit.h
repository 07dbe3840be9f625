// SPDX-License-Identifier: MIT
#pragma once

#include <QLineEdit>

/// A line edit for a password: typed characters are shown as bullets, and no assistive tool can read them.
/// The toolkit's own line edit hides the text of a password from such tools, but reports every character that
/// is typed in clear on the accessibility bus; this one offers them no text interface, and so nothing is
/// reported.
class PasswordEdit : public QLineEdit
{
    Q_OBJECT

public:
    explicit PasswordEdit(QWidget *parent = nullptr);
};
