// SPDX-License-Identifier: MIT
#pragma once

#include "vrp/server/RequestSession.h"
#include "vrp/server/connection_text.h"
#include "vrp/server/directory_parameters.h"

#include <string>

/// Reads the SERVER_<server>_* parameters, <server> being UPLOAD or PORTAL: the address defaults to
/// 127.0.0.1, the port to defaultServerPort when it is below 1 or no number, and only the protocol HTTP is a
/// connection without SSL. The user's identifier and password become the login arguments, unless single
/// sign-on replaces them.
[[nodiscard]] ConnectionParameters readServerParameters(ParameterMap &parameters, const std::wstring &server);

/// Logs the user in. Without a session the user has been told, unless it was they who cancelled, the progress
/// window is closed, and after anything but a cancel the stored password is cleared, so that the next send
/// asks for it again.
[[nodiscard]] RequestSession logIn(const ConnectionParameters &parameters);
