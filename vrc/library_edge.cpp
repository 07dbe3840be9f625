// SPDX-License-Identifier: MIT
#include "vrc/Request.h"
#include "vrc/connection_string.h"
#include "vrc/include/vrc.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <span>

// The C edge: handles are Request objects, and nothing is thrown across it.

void *VrOpenRequest(const char *connection)
{
    if (connection == nullptr) {
        return nullptr;
    }
    try {
        std::optional<vrc::ConnectionSettings> settings = vrc::parseConnectionString(connection);
        return settings ? std::make_unique<vrc::Request>(std::move(*settings)).release() : nullptr;
    } catch (...) { // no memory, no request
        return nullptr;
    }
}

int VrCommand(void *request, const char *command, char *result, int capacity, int *)
{
    if (request == nullptr) {
        if (result != nullptr && capacity > 0) {
            *result = '\0';
        }
        return 0;
    }
    const std::size_t room = result != nullptr && capacity > 0 ? static_cast<std::size_t>(capacity) : 0;
    const std::span<char> buffer(result, room);
    return static_cast<vrc::Request *>(request)->command(command == nullptr ? "" : command, buffer) ? 1 : 0;
}

void VrCloseRequest(void *request)
{
    const std::unique_ptr<vrc::Request> owned(static_cast<vrc::Request *>(request));
}
