// SPDX-License-Identifier: MIT
#pragma once

#include "vrc/Session.h"
#include "vrc/connection_string.h"
#include "vrc/local_commands.h"

#include <span>
#include <string_view>

namespace vrc {

/// What a handle of the public header stands for.
class Request
{
public:
    explicit Request(ConnectionSettings settings);

    /// Sees that the server has everything that was queued.
    ~Request() { m_session.finishQueue(); }

    Request(const Request &) = delete;
    Request &operator=(const Request &) = delete;

    /// One command, its result zero-terminated in `result` (empty after an error). True for success.
    [[nodiscard]] bool command(std::string_view line, std::span<char> result) noexcept;

private:
    [[nodiscard]] std::string run(const wire::Command &command, std::string_view line);
    void deliver(std::string_view text, std::span<char> result) const;
    void noteError(const wire::ErrorInfo &error, bool isQuery) noexcept;

    ConnectionSettings m_settings;
    LocalState m_state;
    Session m_session;
};

} // namespace vrc
