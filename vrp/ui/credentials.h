// SPDX-License-Identifier: MIT
#pragma once

/// Asks for identifier and password until both are filled, unless both are stored. 0 when the application
/// object holds them, 1 when the user cancelled.
int VrpsGetIdentPassword();

/// Asks for the proxy's user and password: 0 when confirmed, 1 when the user cancelled.
int VrpsAskProxy();
