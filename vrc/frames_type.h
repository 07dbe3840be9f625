// SPDX-License-Identifier: MIT
#pragma once

namespace vrc {

/// True for the media type of frames, in any letter case, with parameters or without; null is none.
[[nodiscard]] bool isFramesType(const char *contentType);

} // namespace vrc
