// SPDX-License-Identifier: MIT
#include "appserver/server_files.h"

#include "appserver/secrets.h"

#include <dirent.h>
#include <fcntl.h>
#include <ftw.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <system_error>

namespace appserver {

namespace {

struct FolderCloser
{
    void operator()(DIR *stream) const { ::closedir(stream); }
};

} // namespace

UniqueFd &UniqueFd::operator=(UniqueFd &&other) noexcept
{
    if (this != &other) {
        reset();
        m_fd = std::exchange(other.m_fd, -1);
    }
    return *this;
}

void UniqueFd::reset()
{
    if (m_fd >= 0) {
        ::close(m_fd);
        m_fd = -1;
    }
}

void throwSystemError(const std::string &what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

UniqueFd createExclusively(const std::filesystem::path &path)
{
    UniqueFd fd(::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!fd) {
        throwSystemError("cannot create " + path.string());
    }
    return fd;
}

UniqueFd openForReading(const std::filesystem::path &path)
{
    UniqueFd fd(::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
    if (!fd) {
        throwSystemError("cannot open " + path.string());
    }
    return fd;
}

void writeAll(int fd, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t written = ::write(fd, bytes.data(), bytes.size());
        if (written < 0 && errno != EINTR) {
            throwSystemError("cannot write");
        }
        if (written > 0) {
            bytes.remove_prefix(static_cast<std::size_t>(written));
        }
    }
}

void writeAllAt(int fd, std::string_view bytes, std::uint64_t offset)
{
    while (!bytes.empty()) {
        const ssize_t written = ::pwrite(fd, bytes.data(), bytes.size(), static_cast<off_t>(offset));
        if (written < 0 && errno != EINTR) {
            throwSystemError("cannot write");
        }
        if (written > 0) {
            bytes.remove_prefix(static_cast<std::size_t>(written));
            offset += static_cast<std::uint64_t>(written);
        }
    }
}

void syncFile(int fd)
{
    if (::fsync(fd) != 0) {
        throwSystemError("cannot sync");
    }
}

void syncFolder(const std::filesystem::path &folder)
{
    const UniqueFd fd(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!fd) {
        throwSystemError("cannot open " + folder.string());
    }
    syncFile(fd.get());
}

std::string readWholeFile(const std::filesystem::path &path, std::size_t maxBytes)
{
    const UniqueFd fd = openForReading(path);
    std::string contents;
    std::array<char, 16384> buffer;
    for (;;) {
        const ssize_t count = ::read(fd.get(), buffer.data(), buffer.size());
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            throwSystemError("cannot read " + path.string());
        }
        if (count == 0) {
            return contents;
        }
        contents.append(buffer.data(), static_cast<std::size_t>(count));
        if (contents.size() > maxBytes) {
            throw std::runtime_error(path.string() + " is too long");
        }
    }
}

void writeFileAtomically(const std::filesystem::path &path, std::string_view contents, bool published)
{
    std::filesystem::path temporary = path;
    temporary += "." + randomHex(8) + ".new";
    try {
        const UniqueFd fd = createExclusively(temporary);
        writeAll(fd.get(), contents);
        if (published && ::fchmod(fd.get(), 0644) != 0) {
            throwSystemError("cannot publish " + path.string());
        }
        syncFile(fd.get());
        std::filesystem::rename(temporary, path);
    } catch (...) {
        std::error_code ignored;
        std::filesystem::remove(temporary, ignored);
        throw;
    }
    syncFolder(path.parent_path());
}

void createPrivateFolder(const std::filesystem::path &path)
{
    if (::mkdir(path.c_str(), 0700) != 0 && errno != EEXIST) {
        throwSystemError("cannot create the folder " + path.string());
    }
}

std::vector<std::string> namesIn(const std::filesystem::path &folder)
{
    const std::unique_ptr<DIR, FolderCloser> stream(::opendir(folder.c_str()));
    if (!stream) {
        throwSystemError("cannot open " + folder.string());
    }
    std::vector<std::string> names;
    errno = 0;
    while (const dirent *entry = ::readdir(stream.get())) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") {
            names.emplace_back(name);
        }
        errno = 0;
    }
    if (errno != 0) {
        throwSystemError("cannot read " + folder.string());
    }
    return names;
}

void removeFolder(const std::filesystem::path &folder) noexcept
{
    constexpr int openFolders = 8;
    const auto removeEntry = [](const char *path, const struct stat *, int, FTW *) {
        ::remove(path);
        return 0;
    };
    ::nftw(folder.c_str(), removeEntry, openFolders, FTW_DEPTH | FTW_PHYS);
}

} // namespace appserver
