// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace appserver {

/// The command line of vrserver.
struct ServerOptions
{
    enum class Action
    {
        serve,
        user,
        documents,
        help,
        version
    };

    Action action = Action::serve;
    std::filesystem::path data;
    std::optional<std::string> listen;
    std::optional<int> port;
    std::optional<int> portalPort;
    std::optional<int> plainPort;
    std::optional<int> plainPortalPort;
    std::vector<std::string> words; ///< of an administration command, without the options
};

/// Says in one sentence what is wrong with the command line.
class UsageError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// The arguments without the program's name. Throws UsageError.
[[nodiscard]] ServerOptions parseServerOptions(std::span<const std::string_view> arguments);

[[nodiscard]] std::string_view usageText();

} // namespace appserver
