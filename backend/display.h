// SPDX-License-Identifier: MIT
#pragma once

namespace backend {

/// Whether a program started now could open a window: the display that the environment names accepts
/// connections.
[[nodiscard]] bool displayOpens();

} // namespace backend
