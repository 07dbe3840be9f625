// SPDX-License-Identifier: MIT
#include "vrp/ui/message_boxes.h"

#include "vrp/core/VrpMain.h"
#include "vrp/core/error_text.h"
#include "vrp/core/resource_strings.h"
#include "vrp/platform/system.h"
#include "vrp/ui/resource_text.h"

#include <QLabel>
#include <QMessageBox>

namespace {

/// A sign for the kind of a box, which screen readers name in the language of their user. The toolkit has no
/// words for it in most languages.
QString signOf(QMessageBox::Icon icon)
{
    switch (icon) {
    case QMessageBox::Information:
        return QStringLiteral("\u2139"); // information source
    case QMessageBox::Warning:
        return QStringLiteral("\u26A0"); // warning sign
    case QMessageBox::Critical:
        return QStringLiteral("\u274C"); // cross mark
    case QMessageBox::Question:
        return QStringLiteral("\u2753"); // question mark
    case QMessageBox::NoIcon:
        break;
    }
    return {};
}

/// Who cannot see the icon hears what it says.
void nameIcon(const QMessageBox &box)
{
    // The toolkit's name for the label, in all its versions.
    if (auto *icon = box.findChild<QLabel *>(QStringLiteral("qt_msgboxex_icon_label"))) {
        icon->setAccessibleName(signOf(box.icon()));
    }
}

} // namespace

int VrpsMessageBox(const wchar_t *text, int icon, int buttons)
{
    QMessageBox box;
    box.setWindowTitle(QString::fromWCharArray(VrpsGetMain()->printerTitle));
    box.setIcon(static_cast<QMessageBox::Icon>(icon));
    box.setStandardButtons(static_cast<QMessageBox::StandardButtons>(buttons));
    box.setTextFormat(Qt::PlainText);
    box.setText(shownText(text, longestBoxText));
    nameIcon(box);
    return box.exec();
}

int VrpsMessageBoxFromId(const wchar_t *id, int icon, int buttons)
{
    return VrpsMessageBox(VrpsLoadConfigString(id).c_str(), icon, buttons);
}

int VrpsErrorMessage(const wchar_t *id, int code)
{
    std::wstring systemText;
    if (code == -1) {
        code = VrpsGetLastSystemError(systemText);
    }
    std::wstring text = fillErrorCode(VrpsLoadConfigString(id), code);
    if (!systemText.empty()) {
        text += L"\n" + systemText;
    }
    VrpsMessageBox(text.c_str(), iconCritical, buttonOk);
    return 1;
}
