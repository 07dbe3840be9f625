// SPDX-License-Identifier: MIT
#pragma once

/// Between the settings store and the application object: who the user is, and the proxy.

/// Loads the proxy fields of the application object. The proxy password is loaded only when an identifier is
/// loaded, on purpose; machine-wide there are only server and port.
void VrpsGetProxyFromRegistry(bool machineOnly);
/// Stores the proxy fields of the application object per user: user and enciphered password, and server and
/// port unless `credentialsOnly`. With `forgetPassword` an enciphered empty password is stored.
void VrpsSetProxyToRegistry(bool credentialsOnly, bool forgetPassword);

/// Loads identifier and password into the application object; a password only beside an identifier.
void VrpsGetIdentPasswordFromRegistry();
/// Stores identifier and enciphered password of the application object.
void VrpsSetIdentPasswordToRegistry();
