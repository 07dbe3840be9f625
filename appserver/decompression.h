// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace appserver {

class FileObject;

enum class Decompression
{
    done,
    damaged,
    tooLong
};

/// Appends the contents of a zstd file (RFC 8878, any number of frames, skippable ones included) to the
/// target. Stops before the target grows by more than maxBytes. Frames that want a window of more than 8 MiB
/// count as damaged. What was written before an error stays in the target. Throws std::system_error for a
/// disk error.
[[nodiscard]] Decompression decompress(const FileObject &source, FileObject &target, std::uint64_t maxBytes);

} // namespace appserver
