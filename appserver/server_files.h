// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// Files of the data folder: descriptors that close themselves, writes that are whole or not there at all.
/// Every function throws std::system_error with the path in its text when the system refuses.
namespace appserver {

/// Owns a file descriptor; -1 is none.
class UniqueFd
{
public:
    UniqueFd() = default;

    explicit UniqueFd(int fd) : m_fd(fd) {}

    UniqueFd(UniqueFd &&other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}

    UniqueFd &operator=(UniqueFd &&other) noexcept;
    UniqueFd(const UniqueFd &) = delete;
    UniqueFd &operator=(const UniqueFd &) = delete;

    ~UniqueFd() { reset(); }

    [[nodiscard]] int get() const { return m_fd; }

    [[nodiscard]] explicit operator bool() const { return m_fd >= 0; }

    void reset();

private:
    int m_fd = -1;
};

[[noreturn]] void throwSystemError(const std::string &what);

/// Creates a file that must not exist yet, readable by its owner alone; no link is followed.
[[nodiscard]] UniqueFd createExclusively(const std::filesystem::path &path);
[[nodiscard]] UniqueFd openForReading(const std::filesystem::path &path);

void writeAll(int fd, std::string_view bytes);
/// At an offset: a write that fails half-way leaves the position where the next one begins.
void writeAllAt(int fd, std::string_view bytes, std::uint64_t offset);
void syncFile(int fd);
/// Makes a creation or a rename inside the folder last.
void syncFolder(const std::filesystem::path &folder);

/// A file of at most maxBytes; a longer one is an error.
[[nodiscard]] std::string readWholeFile(const std::filesystem::path &path, std::size_t maxBytes);
/// Temporary name, sync, rename: a reader sees the old contents or the new ones. Mode 0600, or 0644 when
/// published.
void writeFileAtomically(const std::filesystem::path &path, std::string_view contents,
                         bool published = false);
/// Creates the folder with mode 0700 where it is missing.
void createPrivateFolder(const std::filesystem::path &path);

// The standard library's way through a folder ends the process where there is no memory for a name.

/// The names in a folder, but "." and "..".
[[nodiscard]] std::vector<std::string> namesIn(const std::filesystem::path &folder);
/// Removes a folder with all that is in it; what cannot be removed stays. Throws nothing.
void removeFolder(const std::filesystem::path &folder) noexcept;

} // namespace appserver
