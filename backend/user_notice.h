// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace backend {

/// Tells the user of this session something: with a desktop notification where there is a means for one, and
/// on standard error (which the journal keeps) always.
void tellUser(const std::string &text);

} // namespace backend
