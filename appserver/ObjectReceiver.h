// SPDX-License-Identifier: MIT
#pragma once

#include "appserver/SessionObjects.h"
#include "wire/error_info.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace appserver {

struct ServerLimits;

/// Takes the bytes of an object that a client sends. An object that cannot be kept is read to its end all the
/// same, since what follows it must be found.
class ObjectReceiver
{
public:
    explicit ObjectReceiver(const wire::ObjectFrame &frame);

    /// Keeps the bytes, within the session's limits; without this call they are dropped.
    void keepFor(SessionObjects &objects, const ServerLimits &limits);

    /// False when there are more bytes than the object has.
    [[nodiscard]] bool take(std::string_view bytes);

    [[nodiscard]] bool isComplete() const { return m_missing == 0; }

    /// Throws CommandFailure when the object could not be kept, or is malformed.
    [[nodiscard]] ServerObject takeObject();

    [[nodiscard]] const std::string &name() const { return m_name; }

private:
    void keep(std::string_view bytes);

    wire::ObjectType m_type;
    std::string m_name;
    std::uint64_t m_missing;
    bool m_isKept = false;
    FilePtr m_file;
    std::string m_bytes;
    std::optional<wire::ErrorInfo> m_failure;
};

} // namespace appserver
