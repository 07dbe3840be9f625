// SPDX-License-Identifier: MIT
#pragma once

#include "vrc/LocalFile.h"

namespace vrc {

/// Compresses a file into another (zstd, RFC 8878, with content checksum). Memory does not grow with the
/// file. A result whose length would be a multiple of 65,536 gets a skippable frame at its end, since senders
/// that cut a file into blocks of that size count one block too few otherwise. Throws Failure: 125, 126, or
/// 130 for 2^31 bytes or more on either side; what was written until then is removed.
void compressFile(const LocalFile &source, LocalFile &target);

} // namespace vrc
