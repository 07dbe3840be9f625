// SPDX-License-Identifier: MIT
#pragma once

#include "vrc/local_commands.h"

#include <string>
#include <string_view>

namespace vrc {

/// One of the LOCAL: commands of docs/protocol.md.
struct LocalCommand
{
    std::string_view name;
    std::string_view keys; ///< those that may stand, separated by blanks
    std::string (*run)(LocalState &, const wire::Command &);
};

/// Null when there is no command of that name.
[[nodiscard]] const LocalCommand *findLocalCommand(std::string_view name);

} // namespace vrc
