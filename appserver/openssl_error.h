// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace appserver {

/// Throws std::runtime_error "WHAT: REASON" unless a call of OpenSSL has succeeded; the reason is that of its
/// oldest error in this thread, an error of the system among them.
void requireOpenSsl(bool succeeded, const std::string &what);

} // namespace appserver
