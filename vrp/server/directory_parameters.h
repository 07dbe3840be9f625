// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <string>

/// The directory parameters, ordered by plain character comparison; an absent key reads as empty.
using ParameterMap = std::map<std::wstring, std::wstring>;

/// Fills the map from the first server directory that answers: 0 on success, 1 on failure or cancellation, of
/// which the user has been told.
int VrpsGetParametersFromServerDirectory(ParameterMap &parameters);
