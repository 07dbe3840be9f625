// SPDX-License-Identifier: MIT
#include "backend/descriptor_io.h"

#include <fcntl.h>

#include <cerrno>

namespace backend {
namespace {

/// The result of a system call that no signal has interrupted.
template <typename Call>
auto uninterrupted(Call call)
{
    auto result = call();
    while (result < 0 && errno == EINTR) {
        result = call();
    }
    return result;
}

} // namespace

FileDescriptor openFolder(int parent, const std::string &name)
{
    return FileDescriptor(::openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

ssize_t readBytes(int fd, std::span<char> buffer)
{
    return uninterrupted([&] { return ::read(fd, buffer.data(), buffer.size()); });
}

std::optional<std::string> readText(int fd, std::size_t maxBytes)
{
    std::string text(maxBytes, '\0');
    std::size_t length = 0;
    while (length < maxBytes) {
        const ssize_t got = readBytes(fd, std::span(text).subspan(length));
        if (got < 0) {
            return std::nullopt;
        }
        if (got == 0) {
            break;
        }
        length += static_cast<std::size_t>(got);
    }
    text.resize(length);
    return text;
}

bool writeBytes(int fd, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t written = uninterrupted([&] { return ::write(fd, bytes.data(), bytes.size()); });
        if (written < 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

bool syncToDisk(int fd)
{
    return uninterrupted([&] { return ::fsync(fd); }) == 0;
}

} // namespace backend
