// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

/// A TUN device inside a named network namespace (ip-netns(8)). It goes away with this object.
class TunDevice
{
public:
    /// Throws std::system_error, with what could not be done, when there is no such namespace or no right to
    /// do this.
    TunDevice(const std::string &networkNamespace, const std::string &name);
    ~TunDevice();
    TunDevice(const TunDevice &) = delete;
    TunDevice &operator=(const TunDevice &) = delete;

    [[nodiscard]] int descriptor() const { return m_descriptor; }

    /// The next packet that the namespace sends; none when there is none right now.
    [[nodiscard]] std::optional<std::vector<std::byte>> read() const;

    /// Hands a packet to the namespace. One that the namespace does not take is lost, as on any link.
    void write(std::span<const std::byte> packet) const;

private:
    int m_descriptor = -1;
};
