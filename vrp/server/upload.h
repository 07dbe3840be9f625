// SPDX-License-Identifier: MIT
#pragma once

#include "vrp/server/directory_parameters.h"

/// Uploads a document in compressed blocks and has the server process it: 0 and the server's file identifier
/// on success (in test modes the identifier is left alone), 1 otherwise, by which time the user has been
/// told.
int VrpsSendFile(const std::wstring &filePath, const std::wstring &printerName, const std::wstring &fileName,
                 const std::wstring &machineName, const std::wstring &userName, ParameterMap &parameters,
                 std::wstring &fileId);
