// SPDX-License-Identifier: MIT
#pragma once

#include "vrp/server/directory_parameters.h"

/// Asks the user to upgrade when the directory publishes a newer version: 0 to go on with the send, 1 to
/// stop.
int VrpsCheckVersion(ParameterMap &parameters);
