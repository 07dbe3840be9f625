// SPDX-License-Identifier: MIT
#include "vrp/server/version_check.h"

#include "vrp/core/VrpMain.h"
#include "vrp/core/resource_strings.h"
#include "vrp/core/resource_table.h"
#include "vrp/platform/keyword.h"
#include "vrp/server/browser.h"
#include "vrp/server/version_number.h"
#include "vrp/settings/settings_store.h"
#include "vrp/ui/update_prompt.h"

namespace {

bool checkWanted(ParameterMap &parameters)
{
    return isYes(parameters[L"LAST_VERSION_CHECK"]) && versionCheckEnabled();
}

bool newerVersionPublished(ParameterMap &parameters)
{
    const int latest = versionNumber(parameters[L"LAST_VERSION"]);
    return latest > 0 && latest > versionNumber(VrpsLoadConfigString(resource::softwareVersion));
}

} // namespace

int VrpsCheckVersion(ParameterMap &parameters)
{
    if (!checkWanted(parameters) || !newerVersionPublished(parameters)) {
        return 0;
    }
    const std::wstring download = keyword(parameters[L"LAST_VERSION_DOWNLOAD"]); // in upper case, on purpose
    if (download.empty()) {
        return 0;
    }
    VrpMain &main = *VrpsGetMain();
    main.updateAnswer = updateNo;
    VrpsAskUpdate();
    if (main.updateAnswer == updateYes) {
        VrpsRunBrowser(download.c_str());
        return 1;
    }
    return main.updateAnswer == updateCancel ? 1 : 0;
}
