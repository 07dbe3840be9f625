// SPDX-License-Identifier: MIT
#include "tests/unit/printing/RecordedBoxes.h"

#include "vrp/platform/printers.h"
#include "vrp/platform/system.h"
#include "vrp/platform/text.h"

#include <algorithm>
#include <utility>

namespace {

RecordedBoxes *boxes = nullptr;
MachinePrinters *printers = nullptr;

} // namespace

std::ostream &operator<<(std::ostream &out, const Box &box)
{
    return out << '{' << box.text << ", icon " << box.icon << ", buttons " << std::hex << box.buttons
               << std::dec << ", error " << box.error << '}';
}

RecordedBoxes::RecordedBoxes()
{
    boxes = this;
}

RecordedBoxes::~RecordedBoxes()
{
    boxes = nullptr;
}

MachinePrinters::MachinePrinters(std::vector<std::wstring> installed) : names(std::move(installed))
{
    printers = this;
}

MachinePrinters::~MachinePrinters()
{
    printers = nullptr;
}

int VrpsMessageBox(const wchar_t *text, int icon, int buttons)
{
    boxes->shown.push_back({wtoUTF8(text), icon, buttons});
    boxes->whileShown();
    return boxes->answer;
}

int VrpsMessageBoxFromId(const wchar_t *id, int icon, int buttons)
{
    return VrpsMessageBox(id, icon, buttons);
}

int VrpsErrorMessage(const wchar_t *id, int code)
{
    std::wstring description;
    const int error = code == -1 ? VrpsGetLastSystemError(description) : code;
    boxes->shown.push_back({wtoUTF8(id), iconCritical, buttonOk, error});
    return 1;
}

bool VrpsPrinterExist(const std::wstring &name)
{
    return std::find(printers->names.begin(), printers->names.end(), name) != printers->names.end();
}
