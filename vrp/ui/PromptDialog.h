// SPDX-License-Identifier: MIT
#pragma once

#include <QDialog>

#include <string>

class QCheckBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QVBoxLayout;

/// The common frame of the program's dialogs: a title bar without system menu and close box, a configured
/// position, a column of widgets that grows with its texts, and a row of buttons below it. Every text is a
/// resource.
class PromptDialog : public QDialog
{
    Q_OBJECT

public:
    void setVisible(bool visible) override;

protected Q_SLOTS:
    /// Takes the answer over, then accepts the dialog.
    virtual void onOk();
    virtual void onCancel();
    /// Opens the help address of the dialog, when there is one, in the browser.
    void onHelp();

protected:
    PromptDialog(const wchar_t *titleId, const wchar_t *positionId);

    [[nodiscard]] QVBoxLayout *column() const { return m_column; }

    QLabel *newLabel(const QString &text, const char *name);
    QPushButton *newButton(const wchar_t *textId, const char *name);
    QCheckBox *addCheckBox(const QString &text, const char *name);

    /// Adds a label and, below it, the line edit that it names.
    void addLabelled(const wchar_t *labelId, const char *labelName, QLineEdit *edit, const char *editName);

    /// Resource identifiers of the button row. The help button is shown when the topic `helpShownWith` has an
    /// address, and opens the address of `helpTopic`.
    struct Buttons
    {
        const wchar_t *cancel;
        const wchar_t *ok;
        const wchar_t *help;
        const wchar_t *helpShownWith;
        const wchar_t *helpTopic;
    };

    /// Adds a stretch and the row Cancel, a stretch, Help, Ok.
    void addButtons(const Buttons &buttons);
    /// Adds a stretch and a row of three buttons, the first alone at the left, the last one pressed by Enter.
    void addButtonRow(QPushButton *left, QPushButton *middle, QPushButton *byEnter);

private:
    void fitTexts();

    QVBoxLayout *m_column;
    std::wstring m_helpTopic;
};
