// SPDX-License-Identifier: MIT
#pragma once

/// Install and uninstall modes: true when done or declined by the user, false on failure.
bool VrpsInstall();
bool VrpsUninstall();
bool VrpsConfirmInstall();
bool VrpsConfirmUninstall();
