// SPDX-License-Identifier: MIT
#include "vrp/ui/AskServiceDialog.h"

#include "vrp/core/VrpMain.h"
#include "vrp/core/resource_table.h"
#include "vrp/ui/offered_choices.h"
#include "vrp/ui/resource_text.h"

#include <QComboBox>
#include <QLabel>
#include <QVBoxLayout>

#include <algorithm>

namespace {

/// The box is as wide as its longest service, up to this many characters.
constexpr qsizetype widestService = 60;

} // namespace

AskServiceDialog::AskServiceDialog() : PromptDialog(resource::dlgServiceTitle, resource::dlgServicePosition)
{
    createDialog();
}

void AskServiceDialog::createDialog()
{
    setMinimumSize(300, 180);
    QLabel *label = newLabel(resourceText(resource::dlgServiceChooseText), "headingLabel");
    m_services = new QComboBox(this);
    m_services->setObjectName(QStringLiteral("servicesBox"));
    label->setBuddy(m_services);
    addServices();

    column()->addWidget(label);
    column()->addSpacing(20);
    column()->addWidget(m_services);
    addButtons({resource::dlgServiceCancelText, resource::dlgServiceOkText, resource::dlgServiceHelpText,
                L"DlgService", L"DlgService"});
    m_services->setFocus();
}

void AskServiceDialog::addServices()
{
    const VrpMain *run = VrpsGetMain();
    qsizetype longest = 0;
    for (const std::wstring &service : run->services) {
        m_services->addItem(QString::fromStdWString(serviceTitle(service)));
        longest = std::max<qsizetype>(longest, m_services->itemText(m_services->count() - 1).size());
    }
    m_services->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    m_services->setMinimumContentsLength(static_cast<int>(std::min(longest, widestService)));

    const auto last = std::find(run->services.begin(), run->services.end(), run->service);
    if (last != run->services.end()) {
        m_services->setCurrentIndex(static_cast<int>(last - run->services.begin()));
    }
}

void AskServiceDialog::onOk()
{
    VrpMain *run = VrpsGetMain();
    const int index = m_services->currentIndex();
    run->service = index < 0 ? std::wstring() : run->services.at(static_cast<std::size_t>(index));
    accept();
}
