// SPDX-License-Identifier: MIT
#include "vrc/file_access.h"

#include "vrc/Failure.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <system_error>

namespace vrc {
namespace {

std::string reason(const std::string &path, const char *verb, int error)
{
    return path + " cannot be " + verb + ": " + std::generic_category().message(error);
}

FileStatus described(const struct stat &status)
{
    return {{status.st_dev, status.st_ino}, static_cast<std::uint64_t>(status.st_size)};
}

} // namespace

void failRead(const std::string &path, int error)
{
    fail(wire::errors::fileRead, reason(path, "read", error));
}

void failWrite(const std::string &path, int error)
{
    fail(wire::errors::fileWrite, reason(path, "written", error));
}

std::optional<FileStatus> statusOf(int descriptor)
{
    struct stat status = {};
    return fstat(descriptor, &status) == 0 ? std::optional(described(status)) : std::nullopt;
}

std::optional<FileStatus> statusOf(const std::string &path)
{
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 ? std::optional(described(status)) : std::nullopt;
}

void readFully(int descriptor, const std::string &path, std::uint64_t offset, std::string &buffer,
               std::size_t place)
{
    const std::size_t count = buffer.size() - place;
    for (std::size_t done = 0; done < count;) {
        const ssize_t got =
            pread(descriptor, buffer.data() + place + done, count - done, static_cast<off_t>(offset + done));
        if (got < 0 && errno != EINTR) {
            failRead(path, errno);
        }
        if (got == 0) {
            fail(wire::errors::fileRead, path + " cannot be read: it has become shorter");
        }
        done += got > 0 ? static_cast<std::size_t>(got) : 0;
    }
}

FileWriter::FileWriter(const std::string &path)
    : m_path(path), m_descriptor(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC,
                                      S_IRUSR | S_IWUSR))
{
    if (m_descriptor < 0) {
        failWrite(m_path, errno);
    }
}

FileWriter::~FileWriter()
{
    if (m_descriptor >= 0) {
        ::close(m_descriptor);
    }
}

void FileWriter::write(std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t written = ::write(m_descriptor, bytes.data(), bytes.size());
        if (written < 0 && errno != EINTR) {
            failWrite(m_path, errno);
        }
        bytes.remove_prefix(written > 0 ? static_cast<std::size_t>(written) : 0);
    }
}

void FileWriter::close()
{
    if (::close(std::exchange(m_descriptor, -1)) != 0) {
        failWrite(m_path, errno);
    }
}

FileReader::FileReader(const std::string &path)
    : m_path(path), m_descriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC))
{
    struct stat status = {};
    if (m_descriptor < 0) {
        failRead(m_path, errno);
    }
    if (fstat(m_descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
        ::close(m_descriptor);
        fail(wire::errors::fileRead, m_path + " cannot be read: it is not a file");
    }
    m_size = static_cast<std::uint64_t>(status.st_size);
}

FileReader::~FileReader()
{
    ::close(m_descriptor);
}

void FileReader::read(std::uint64_t offset, std::string &bytes, std::size_t count) const
{
    bytes.resize(count);
    readFully(m_descriptor, m_path, offset, bytes, 0);
}

void FileReader::append(std::uint64_t offset, std::string &target, std::size_t count) const
{
    const std::size_t place = target.size();
    target.resize(place + count);
    readFully(m_descriptor, m_path, offset, target, place);
}

void refuseToOverwrite(const FileReader &source, const std::string &path)
{
    const std::optional<FileStatus> read = statusOf(source.descriptor());
    const std::optional<FileStatus> written = statusOf(path);
    if (read && written && read->identity == written->identity) {
        fail(wire::errors::fileWrite, path + " cannot be written: it is the file that is read");
    }
}

std::string createTemporaryFile()
{
    const char *folder = std::getenv("TMPDIR");
    std::string path = std::string(folder != nullptr && *folder != '\0' ? folder : "/tmp") + "/vrc-XXXXXX";
    const int descriptor = mkstemp(path.data());
    if (descriptor < 0) {
        failWrite(path, errno);
    }
    ::close(descriptor);
    return path;
}

} // namespace vrc
