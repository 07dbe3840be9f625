// SPDX-License-Identifier: MIT
#include "vrp/ui/message_boxes.h"

#include "vrp/core/VrpMain.h"
#include "vrp/core/error_text.h"
#include "vrp/core/resource_strings.h"
#include "vrp/platform/system.h"
#include "vrp/ui/resource_text.h"

#include <QMessageBox>

int VrpsMessageBox(const wchar_t *text, int icon, int buttons)
{
    QMessageBox box;
    box.setWindowTitle(QString::fromWCharArray(VrpsGetMain()->printerTitle));
    box.setIcon(static_cast<QMessageBox::Icon>(icon));
    box.setStandardButtons(static_cast<QMessageBox::StandardButtons>(buttons));
    box.setTextFormat(Qt::PlainText);
    box.setText(shownText(text, longestBoxText));
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
