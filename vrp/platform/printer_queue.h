// SPDX-License-Identifier: MIT
#pragma once

#include <string>

/// Creation and removal of the printer queue and its files. Each Vrps operation forwards to the Mac one; what
/// CUPS has no notion of (ports, drivers, monitors to list or remove) succeeds at once.

/// Creates the CUPS queue with the PPD named by the driver; port and processor are not used.
bool VrpsAddPrinter(const std::wstring &printer, const std::wstring &port, const std::wstring &driver,
                    const std::wstring &processor, const std::wstring &monitor);
bool MacAddPrinter(const std::wstring &printer, const std::wstring &port, const std::wstring &driver,
                   const std::wstring &processor, const std::wstring &monitor);

/// Removes the queue; true as well when there is none of that name.
bool VrpsRemovePrinter(const std::wstring &printer);
bool MacRemovePrinter(const std::wstring &printer);

/// Makes the installed backend executable for root alone.
bool VrpsAddMonitor(const std::wstring &monitor, const std::wstring &backendFile);
bool MacAddMonitor(const std::wstring &monitor, const std::wstring &backendFile);

/// Copies backend and program into place and writes the configuration launcher.
bool VrpsCopyInstallFiles();
bool MacCopyInstallFiles();

bool VrpsInstallDriver(const std::wstring &driver, const std::wstring &environment);
bool MacInstallDriver(const std::wstring &driver, const std::wstring &environment);
bool VrpsAddPort(const std::wstring &port, const std::wstring &monitor);
bool MacAddPort(const std::wstring &port, const std::wstring &monitor);
bool VrpsRemovePort(const std::wstring &port);
bool MacRemovePort(const std::wstring &port);
bool VrpsEnumPorts();
bool MacEnumPorts();
bool VrpsRemoveMonitor(const std::wstring &monitor);
bool MacRemoveMonitor(const std::wstring &monitor);
bool VrpsRemoveMonitorFiles();
bool MacRemoveMonitorFiles();
