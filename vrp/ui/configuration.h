// SPDX-License-Identifier: MIT
#pragma once

/// Runs the configuration dialog modally. True when it was rejected, false when it was accepted with Ok: this
/// sense is kept on purpose.
bool VrpsDisplayConfig();
