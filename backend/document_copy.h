// SPDX-License-Identifier: MIT
#pragma once

#include "backend/FileDescriptor.h"

namespace backend {

/// Where a document is read from.
struct DocumentSource
{
    FileDescriptor fd;
    bool fromFilters = false; ///< standard input: an end may be a filter's end
};

/// Copies a document to its end. What filters were writing when they were stopped is not taken for a
/// document. Throws BackendFailure: also when the job is cancelled meanwhile.
void copyDocument(const DocumentSource &source, int target);

} // namespace backend
