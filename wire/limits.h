// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>

// Sizes that both sides of a conversation enforce; docs/protocol.md lists them under "Limits".
namespace wire {

inline constexpr std::uint16_t kVersion = 1;

inline constexpr std::size_t kMaxPayloadBytes = 2 * 1024 * 1024;
inline constexpr std::size_t kMaxCommandBytes = 1024 * 1024;
inline constexpr std::size_t kMaxNameBytes = 128;
inline constexpr std::size_t kMaxDataBytes = 65536;
inline constexpr std::size_t kMaxTextBytes = 1024 * 1024; // an entry, key, value or cell
inline constexpr std::size_t kMaxValueBytes = 16 * 1024 * 1024;
inline constexpr std::uint64_t kMaxFileBytes = 0x7fffffff;
inline constexpr std::size_t kMaxEntries = 10000; // of a list, and rows of a table
inline constexpr std::size_t kMaxColumns = 64;
inline constexpr std::size_t kMaxSessionObjects = 64;
inline constexpr std::size_t kMaxVariables = 64;
inline constexpr std::size_t kMaxTravellingBytes = 65536; // objects that follow a procedure's result

inline constexpr const char *kMediaType = "application/vnd.varek.frames";
inline constexpr const char *kResource = "/vrc";

} // namespace wire
