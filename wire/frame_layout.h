// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

/// Values with a meaning of their own in the payloads of docs/protocol.md, for those who write and read them.
namespace wire {

/// The flags of a command frame.
inline constexpr std::uint8_t flagQueued = 1;
inline constexpr std::uint8_t flagOffset = 2;
inline constexpr std::uint8_t flagHash = 4;
inline constexpr std::uint8_t allFlags = flagQueued | flagOffset | flagHash;

/// In place of a size in a progress frame: there is no such object.
inline constexpr std::uint64_t noObject = ~std::uint64_t{0};

} // namespace wire
