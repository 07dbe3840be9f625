// SPDX-License-Identifier: MIT
#pragma once

#include "appserver/session_commands.h"

#include <string>
#include <string_view>

namespace appserver {

struct ServerLimits;

/// What a command works with.
struct CommandContext
{
    AppServices &services;
    ServerSession &session;
    const ReceivedCommand &received;
    const wire::Command &command; ///< with the values of variables in place
    const ServerLimits &limits;

    /// Throws CommandFailure when there is no such field.
    [[nodiscard]] const std::string &argument(std::string_view key) const;

    /// The same, also when the value names no object.
    [[nodiscard]] const std::string &name(std::string_view key = "NAME") const;
};

// The OBJECT: commands of docs/protocol.md, each by its name. They throw CommandFailure.
[[nodiscard]] CommandOutcome createObject(const CommandContext &context);
[[nodiscard]] CommandOutcome removeObject(const CommandContext &context);
[[nodiscard]] CommandOutcome getObject(const CommandContext &context);
[[nodiscard]] CommandOutcome sendObject(const CommandContext &context);
[[nodiscard]] CommandOutcome appendFile(const CommandContext &context);
[[nodiscard]] CommandOutcome fileSize(const CommandContext &context);
[[nodiscard]] CommandOutcome decompressFile(const CommandContext &context);
[[nodiscard]] CommandOutcome setInteger(const CommandContext &context);
[[nodiscard]] CommandOutcome setString(const CommandContext &context);

} // namespace appserver
