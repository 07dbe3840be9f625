// SPDX-License-Identifier: MIT
#pragma once

#include "vrp/server/UploadJob.h"

/// Sends the list FILE_INFO, which tells the server what the document is and how it is printed. A failure
/// shows when the server processes the document; false when the user has cancelled, and the upload has ended.
[[nodiscard]] bool sendDescription(UploadJob &job);
