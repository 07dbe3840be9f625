// SPDX-License-Identifier: MIT
#pragma once

#include "backend/FileDescriptor.h"

#include <sys/types.h>

#include <optional>
#include <span>
#include <string>
#include <string_view>

/// System calls on descriptors, each repeated when a signal interrupts it. A failure leaves its error in
/// errno.
namespace backend {

/// Opens a folder below an open one, or below AT_FDCWD. A link in its place is not followed.
[[nodiscard]] FileDescriptor openFolder(int parent, const std::string &name);

/// read(2): the number of bytes, 0 at the end, negative after a failure.
[[nodiscard]] ssize_t readBytes(int fd, std::span<char> buffer);

/// What is left to read, or its first maxBytes bytes; nothing after a failure.
[[nodiscard]] std::optional<std::string> readText(int fd, std::size_t maxBytes);

[[nodiscard]] bool writeBytes(int fd, std::string_view bytes);

/// fsync(2)
[[nodiscard]] bool syncToDisk(int fd);

} // namespace backend
