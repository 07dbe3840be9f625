// SPDX-License-Identifier: MIT
#pragma once

#include "vrc/AppendedFiles.h"
#include "vrc/Channel.h"
#include "vrc/LocalObjects.h"
#include "vrc/PendingQueue.h"
#include "wire/fields.h"

#include <optional>
#include <string>
#include <string_view>

namespace vrc {

/// A remote command as the library looks at it: most are passed on as they are.
struct RemoteCommand
{
    enum class Kind
    {
        other,
        procedure,
        create,
        remove,
        get,
        send,
        append,
        decompress,
        sizeToVariable,
        setInteger
    };

    Kind kind = Kind::other;
    std::string line;
    std::string name;       ///< NAME
    std::string sourceName; ///< SNAME
    std::string targetName; ///< DNAME
    bool createsFile = false;
    bool noError = false;
    bool isPlain = false;  ///< no modifier, no variable: nothing but the fields that the command needs
    bool hasNames = false; ///< NAME, SNAME and DNAME are names as they stand, not variables
    bool mayQueue = false; ///< nothing comes back but whether it worked
};

[[nodiscard]] RemoteCommand describe(const wire::Command &command, std::string_view line);

/// What has to be known of a command that is to be sent.
struct Dispatch
{
    std::uint64_t number = 0;
    bool isQueued = false;
};

/// The frames of a command, with its object when it sends one. Throws Failure when the local object is
/// missing or cannot be read.
[[nodiscard]] OutgoingBody bodyOf(const RemoteCommand &command, const Dispatch &dispatch,
                                  LocalObjects &objects, const AppendedFiles &appended);

/// The frames of a queued command that has to be sent again.
[[nodiscard]] OutgoingBody bodyOf(const QueuedCommand &command);

} // namespace vrc
