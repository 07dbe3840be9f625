// SPDX-License-Identifier: MIT
#pragma once

#include "vrp/server/UploadJob.h"

/// The document's way to the server: compressed, in blocks, and decompressed there. Each step gives false
/// when the upload has ended; then the session is closed and the user has been told.

/// Measures and compresses the document into a temporary file beside it.
[[nodiscard]] bool compressDocument(UploadJob &job);

/// Appends the compressed document to the server's file, block after block. A cancel takes effect before the
/// next block.
[[nodiscard]] bool sendBlocks(UploadJob &job);

/// Compares the size of the server's compressed file with what was sent.
[[nodiscard]] bool compressedSizeArrived(UploadJob &job);

/// Has the server decompress the document. A failure shows in its size.
[[nodiscard]] bool decompressOnServer(UploadJob &job);

[[nodiscard]] bool removeTemporaryObjects(UploadJob &job);

/// Compares the size of the decompressed document on the server with that of the document. A cancel counts
/// before the comparison does.
[[nodiscard]] bool plainSizeArrived(UploadJob &job);

inline constexpr int blockBytes = 65536;

/// How a compressed document is divided.
struct BlockPlan
{
    int count = 0;
    int lastBytes = 0; ///< of the last block: 0, on purpose, for an exact multiple of the block size
};

[[nodiscard]] BlockPlan planBlocks(int compressedBytes);
