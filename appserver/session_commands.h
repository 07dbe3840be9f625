// SPDX-License-Identifier: MIT
#pragma once

#include "appserver/SessionObjects.h"
#include "wire/fields.h"
#include "wire/frames.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace appserver {

class AppServices;
class ServerSession;

/// One command as it arrived, with the object that came with it.
struct ReceivedCommand
{
    wire::Command command;
    std::optional<std::uint64_t> offset;
    std::optional<wire::Hash> hash;
    std::optional<ServerObject> object; ///< of OBJECT:SEND
    std::string remoteAddress;
};

/// An object that travels back; only for the commands that fetch or make one.
struct TravellingObject
{
    std::string name;
    ServerObject object;
};

struct CommandOutcome
{
    std::string result;
    std::vector<TravellingObject> objects;
};

/// Carries a command out in the session. Throws CommandFailure; the session is then as the command's rules
/// say, never half changed. Any other exception is the server's own trouble.
[[nodiscard]] CommandOutcome carryOut(AppServices &services, ServerSession &session,
                                      const ReceivedCommand &received);

/// Fails unless a person has logged in or none needs to.
void requireAdmission(const ServerSession &session, const wire::Command &command);

/// Only a person may make the server store anything.
void requirePerson(const ServerSession &session);

[[nodiscard]] bool sendsObject(const wire::Command &command);
[[nodiscard]] bool fetchesObject(const wire::Command &command);

} // namespace appserver
