// SPDX-License-Identifier: MIT
#pragma once

#include "vrp/server/RequestSession.h"
#include "vrp/server/directory_parameters.h"

#include <string>

/// What one upload knows and has found out so far.
struct UploadJob
{
    const std::wstring &filePath;
    const std::wstring &printerName;
    const std::wstring &fileName; ///< the document's name as the user knows it
    const std::wstring &machineName;
    const std::wstring &userName;
    ParameterMap &parameters;
    std::wstring &fileId;

    RequestSession session = {};
    std::wstring container = {}; ///< of the user's profile on the server
    int plainBytes = 0;
    int compressedBytes = 0;
    std::wstring tunnelService = {}; ///< empty outside tunnel mode
    std::wstring tunnelProfile = {};
};
