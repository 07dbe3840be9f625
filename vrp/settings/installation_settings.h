// SPDX-License-Identifier: MIT
#pragma once

/// Registers the printer of the application object and copies every resource text and the server directories
/// into the stores. False as soon as a store cannot be written; what was written before stays. Warns on
/// standard error of a directory server without ";", as an unquoted value of an INI file ends there.
[[nodiscard]] bool VrpsInstallSetRegistry();

/// Copies one resource, from the configuration file where one is in use and has it, otherwise its default
/// text, into the machine-wide store.
void VrpsSetCompanyRegistryKeyFromConfigFile(const wchar_t *id);

/// Removes the printer's entries, and every key of the machine-wide store of its company and software names,
/// whichever other printer may use that too. False only when the bootstrap store cannot be written.
bool VrpsInstallRemoveRegistry();
