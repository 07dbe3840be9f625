// SPDX-License-Identifier: MIT
#pragma once

#include <QLineEdit>

/// A line edit for a password: typed characters are shown as bullets, and assistive tools cannot read them
/// back. The toolkit's own line edit hides the text of a password from such tools, but reports every change
/// of it in clear on the accessibility bus; this one offers them no text interface, and so nothing is
/// reported. Tools that ask for the keys that are pressed see them here as everywhere.
class PasswordEdit : public QLineEdit
{
    Q_OBJECT

public:
    explicit PasswordEdit(QWidget *parent = nullptr);
};
