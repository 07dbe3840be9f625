// SPDX-License-Identifier: MIT
#pragma once

#include "vrp/server/directory_parameters.h"

/// Logs in to the portal server, hands it the file identifier and opens the portal page in the browser: 0 on
/// success and when there is no portal address, 1 otherwise. The server session stays open for the page.
int VrpsOpenPortal(ParameterMap &parameters, std::wstring &fileId);
