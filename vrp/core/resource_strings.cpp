// SPDX-License-Identifier: MIT
#include "vrp/core/resource_strings.h"

#include "vrp/core/VrpMain.h"
#include "vrp/core/printer_title.h"
#include "vrp/core/resource_table.h"
#include "vrp/platform/text.h"
#include "vrp/settings/settings_store.h"
#include "vrp/settings/store_access.h"

#include <QSettings>

namespace {

template <std::size_t capacity>
void load(wchar_t (&field)[capacity], const wchar_t *id)
{
    copyBounded(field, VrpsLoadConfigString(id));
}

} // namespace

std::wstring configFileText(const ResourceId &id)
{
    VrpMain &main = *VrpsGetMain();
    if (main.configSettings == nullptr) {
        main.configSettings = openIniFile(main.configFilePath).release();
    }
    return readSetting(*main.configSettings, id.section, id.key, id.defaultText);
}

std::wstring VrpsLoadConfigString(const wchar_t *id)
{
    const std::optional<ResourceId> resourceId = splitResourceId(id != nullptr ? id : L"");
    if (!resourceId || resourceId->section.empty()) {
        return {};
    }
    if (resourceId->key.empty()) {
        return resourceId->defaultText;
    }
    if (VrpsGetMain()->configFilePath[0] != L'\0') {
        return configFileText(*resourceId);
    }
    return VrpsGetCompanyRegistryKey(resourceId->section.c_str(), resourceId->key.c_str(),
                                     resourceId->defaultText.c_str(), false);
}

void VrpsLoadResources()
{
    VrpMain &main = *VrpsGetMain();
    setPrinterTitle(VrpsLoadConfigString(resource::printerTitle));
    load(main.monitorName, resource::printerMonitor);
    load(main.monitorDll, resource::setupMonitorDll);
    load(main.monitorSrcDll, resource::setupMonitorSrcDll);
    load(main.uninstallPrgmOptions, resource::setupUninstallPrgmOptions);
    load(main.serverLibraryFile, resource::setupVarekDll);
    load(main.printerPort, resource::printerPort);
    load(main.printerName, resource::printerName);
    load(main.printerDriver, resource::printerDriver);
    load(main.printProcessor, resource::printerProcessor);
    load(main.printerHelp, resource::printerHelp);
    load(main.programName, resource::printerPrgm);
    load(main.programSource, resource::setupPrgmSrc);
    load(main.company, resource::softwareCompany);
    load(main.softwareName, resource::softwareName);
    load(main.copyright, resource::softwareCopyright);
    load(main.version, resource::softwareVersion);
}
