// SPDX-License-Identifier: MIT
#pragma once

#include "vrp/server/UploadJob.h"

/// How a document is printed: what the server allows and what the user chooses of it. Each step gives false
/// when the upload has ended; then the session is closed and the user has been told.

/// Fetches the print modes that the user may use into the application object; at least one must be offered.
[[nodiscard]] bool readOfferedModes(UploadJob &job);

/// Has the user choose a print mode.
[[nodiscard]] bool chooseMode(UploadJob &job);

/// In tunnel mode, finds the tunnel's service name and profile; one of them is enough.
[[nodiscard]] bool chooseTunnelService(UploadJob &job);

struct TunnelService
{
    std::wstring name;
    std::wstring profile;
};

/// Takes a service row name;label;profile apart. `row` keeps what follows the name; a row without ";" gives
/// neither name nor profile.
[[nodiscard]] TunnelService splitServiceRow(std::wstring &row);
