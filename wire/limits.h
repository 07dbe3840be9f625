// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>

/// Sizes that both sides of a conversation enforce; docs/protocol.md lists them under "Limits".
namespace wire {

inline constexpr std::uint16_t protocolVersion = 1;

inline constexpr std::size_t longestPayloadBytes = 2 * 1024 * 1024;
inline constexpr std::size_t maxCommandBytes = 1024 * 1024;
inline constexpr std::size_t maxFields = 256;          ///< of a command
inline constexpr std::size_t maxShortTextBytes = 4096; ///< texts of a hello and of an error
inline constexpr std::size_t maxNameBytes = 128;
inline constexpr std::size_t maxDataBytes = 65536;
inline constexpr std::size_t maxTextBytes = 1024 * 1024; ///< an entry, key, value or cell
inline constexpr std::size_t maxValueBytes = 16 * 1024 * 1024;
inline constexpr std::uint64_t maxFileBytes = 0x7fffffff;
inline constexpr std::size_t maxEntries = 10000; ///< of a list, and rows of a table
inline constexpr std::size_t maxColumns = 64;
inline constexpr std::size_t maxSessionObjects = 64;
inline constexpr std::size_t maxVariables = 64;
inline constexpr std::size_t maxTravellingBytes = 65536; ///< objects that follow a procedure's result

inline constexpr const char *mediaType = "application/vnd.varek.frames";
inline constexpr const char *resourcePath = "/vrc";

} // namespace wire
