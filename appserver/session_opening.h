// SPDX-License-Identifier: MIT
#pragma once

#include "wire/frames.h"

#include <string>

namespace appserver {

class AppServices;
class ServerConfiguration;
class ServerSession;
struct ApplicationSettings;

/// The application that a client wants. Throws CommandFailure unless there is one, its user and password are
/// right, and single sign-on is offered where it is wanted.
[[nodiscard]] const ApplicationSettings &requireApplication(const ServerConfiguration &configuration,
                                                            const wire::HelloFrame &hello);

/// The first request of a session sets it up and calls its open procedure; for one that is set up already
/// nothing is done. `person` is known by a ticket, empty without. Throws what the open procedure throws, and
/// the session is gone then; throws CommandFailure for one that has ended meanwhile.
void setUpSession(AppServices &services, ServerSession &session, const ApplicationSettings &application,
                  const wire::HelloFrame &hello, const std::string &person);

} // namespace appserver
