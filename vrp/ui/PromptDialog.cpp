// SPDX-License-Identifier: MIT
#include "vrp/ui/PromptDialog.h"

#include "vrp/server/browser.h"
#include "vrp/settings/settings_store.h"
#include "vrp/ui/resource_text.h"
#include "vrp/ui/window_placement.h"

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>

PromptDialog::PromptDialog(const wchar_t *titleId, const wchar_t *positionId)
    : m_column(new QVBoxLayout(this))
{
    Qt::WindowFlags flags = Qt::Dialog | Qt::CustomizeWindowHint;
    flags &= ~Qt::WindowSystemMenuHint;
    flags |= Qt::WindowTitleHint;
    setWindowFlags(flags);

    move(configuredPosition(positionId));
    setWindowTitle(resourceText(titleId));
}

void PromptDialog::setVisible(bool visible)
{
    if (visible && !isVisible()) {
        fitTexts();
        placeVisibly(*this);
    }
    QDialog::setVisible(visible);
}

/// Makes room for every text, however long its translation and however large the font.
void PromptDialog::fitTexts()
{
    ensurePolished();
    QSize least = m_column->totalMinimumSize().expandedTo(minimumSize());
    QSize room = m_column->totalSizeHint().expandedTo(least);
    if (m_column->hasHeightForWidth()) {
        least.setHeight(std::max(least.height(), m_column->totalHeightForWidth(least.width())));
        room.setHeight(std::max(room.height(), m_column->totalHeightForWidth(room.width())));
    }
    setMinimumSize(least);
    if (!testAttribute(Qt::WA_Resized)) {
        resize(room);
    }
}

QLabel *PromptDialog::newLabel(const QString &text, const char *name)
{
    auto *label = new QLabel(text, this);
    label->setTextFormat(Qt::PlainText);
    label->setObjectName(QLatin1String(name));
    return label;
}

QPushButton *PromptDialog::newButton(const wchar_t *textId, const char *name)
{
    auto *button = new QPushButton(resourceText(textId), this);
    button->setObjectName(QLatin1String(name));
    button->setAutoDefault(false);
    return button;
}

QCheckBox *PromptDialog::addCheckBox(const QString &text, const char *name)
{
    auto *box = new QCheckBox(text, this);
    box->setObjectName(QLatin1String(name));
    m_column->addWidget(box);
    return box;
}

void PromptDialog::addLabelled(const wchar_t *labelId, const char *labelName, QLineEdit *edit,
                               const char *editName)
{
    QLabel *label = newLabel(resourceText(labelId), labelName);
    label->setBuddy(edit);
    edit->setObjectName(QLatin1String(editName));
    m_column->addWidget(label);
    m_column->addWidget(edit);
}

void PromptDialog::addButtons(const Buttons &buttons)
{
    QPushButton *cancel = newButton(buttons.cancel, "cancelButton");
    QPushButton *help = newButton(buttons.help, "helpButton");
    QPushButton *ok = newButton(buttons.ok, "okButton");
    connect(cancel, &QPushButton::clicked, this, &PromptDialog::onCancel);
    connect(help, &QPushButton::clicked, this, &PromptDialog::onHelp);
    connect(ok, &QPushButton::clicked, this, &PromptDialog::onOk);
    m_helpTopic = buttons.helpTopic;
    addButtonRow(cancel, help, ok);
    help->setHidden(helpAddress(buttons.helpShownWith).empty());
}

void PromptDialog::addButtonRow(QPushButton *left, QPushButton *middle, QPushButton *byEnter)
{
    auto *row = new QHBoxLayout;
    row->addWidget(left);
    row->addStretch();
    row->addWidget(middle);
    row->addWidget(byEnter);
    byEnter->setDefault(true);
    m_column->addStretch();
    m_column->addLayout(row);
}

void PromptDialog::onOk()
{
    accept();
}

void PromptDialog::onCancel()
{
    reject();
}

void PromptDialog::onHelp()
{
    const std::wstring address = helpAddress(m_helpTopic.c_str());
    if (!address.empty()) {
        VrpsRunBrowser(address.c_str());
    }
}
