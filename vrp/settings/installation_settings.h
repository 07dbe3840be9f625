// SPDX-License-Identifier: MIT
#pragma once

/// Registers the printer of the application object and copies every resource text and the server directories
/// into the stores. False as soon as a store cannot be written; what was written before stays.
bool VrpsInstallSetRegistry();

/// Copies one resource, from the configuration file where it has it, into the machine-wide store.
void VrpsSetCompanyRegistryKeyFromConfigFile(const wchar_t *id);

/// Removes the printer's entries; false only when the bootstrap store cannot be written.
bool VrpsInstallRemoveRegistry();
