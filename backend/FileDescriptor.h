// SPDX-License-Identifier: MIT
#pragma once

#include <unistd.h>

#include <utility>

namespace backend {

/// Owns one file descriptor and closes it; -1 stands for none.
class FileDescriptor
{
public:
    FileDescriptor() = default;

    explicit FileDescriptor(int fd) : m_fd(fd) {}

    FileDescriptor(FileDescriptor &&other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}

    FileDescriptor &operator=(FileDescriptor &&other) noexcept
    {
        std::swap(m_fd, other.m_fd);
        return *this;
    }

    FileDescriptor(const FileDescriptor &) = delete;
    FileDescriptor &operator=(const FileDescriptor &) = delete;

    ~FileDescriptor()
    {
        if (m_fd >= 0) {
            ::close(m_fd);
        }
    }

    [[nodiscard]] int get() const { return m_fd; }

    /// Gives the descriptor to somebody else, who closes it.
    [[nodiscard]] int release() { return std::exchange(m_fd, -1); }

    [[nodiscard]] bool isOpen() const { return m_fd >= 0; }

private:
    int m_fd = -1;
};

} // namespace backend
