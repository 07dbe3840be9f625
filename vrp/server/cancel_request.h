// SPDX-License-Identifier: MIT
#pragma once

/// Lets the progress window serve its cancel button; true when the user has pressed it.
[[nodiscard]] bool cancelRequested();
