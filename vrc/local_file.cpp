// SPDX-License-Identifier: MIT
#include "vrc/local_file.h"

#include "vrc/failure.h"
#include "wire/limits.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace vrc {
namespace {

constexpr std::size_t pieceBytes = 65536;

std::string reason(const std::string &path, const char *verb, int error)
{
    return path + " cannot be " + verb + ": " + std::generic_category().message(error);
}

[[noreturn]] void failRead(const std::string &path, int error)
{
    fail(wire::errors::fileRead, reason(path, "read", error));
}

[[noreturn]] void failWrite(const std::string &path, int error)
{
    fail(wire::errors::fileWrite, reason(path, "written", error));
}

/// Which file that is. A descriptor's never changes while it is open.
using Identity = std::pair<dev_t, ino_t>;

std::optional<struct stat> statusOf(int descriptor)
{
    struct stat status = {};
    return fstat(descriptor, &status) == 0 ? std::optional(status) : std::nullopt;
}

std::optional<struct stat> statusOf(const std::string &path)
{
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 ? std::optional(status) : std::nullopt;
}

bool isFile(const std::optional<struct stat> &status, const std::optional<Identity> &identity)
{
    return status && identity && *identity == Identity(status->st_dev, status->st_ino);
}

std::optional<Identity> identityOf(const std::optional<struct stat> &status)
{
    return status ? std::optional(Identity(status->st_dev, status->st_ino)) : std::nullopt;
}

/// Fills the bytes of the buffer from `place` on.
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

} // namespace

/// The two files of a copy that is made again and again, a block at a time: opening and emptying a file costs
/// more than its bytes.
class CopyDescriptors
{
public:
    explicit CopyDescriptors(const std::string &source)
        : m_source(source), m_sourceIdentity(identityOf(statusOf(m_source.descriptor()))),
          m_sourceBytes(m_source.size())
    {}

    ~CopyDescriptors()
    {
        if (m_target >= 0) {
            ::close(m_target);
        }
    }

    CopyDescriptors(const CopyDescriptors &) = delete;
    CopyDescriptors &operator=(const CopyDescriptors &) = delete;

    /// The paths may lead somewhere else by now. Where they do not, takes note of how long the files are.
    [[nodiscard]] bool areOf(const std::string &source, const std::string &target)
    {
        const std::optional<struct stat> sourceStatus = statusOf(source);
        const std::optional<struct stat> targetStatus = statusOf(target);
        if (source != m_source.path() || !isFile(sourceStatus, m_sourceIdentity) ||
            !isFile(targetStatus, m_targetIdentity)) {
            return false;
        }
        m_sourceBytes = static_cast<std::uint64_t>(sourceStatus->st_size);
        m_targetBytes = static_cast<std::uint64_t>(targetStatus->st_size);
        return true;
    }

    [[nodiscard]] bool isTarget(const std::string &path) const
    {
        return isFile(statusOf(path), m_targetIdentity);
    }

    [[nodiscard]] int target() const { return m_target; }

    void copy(const std::string &path, std::uint64_t offset, std::uint64_t bytes)
    {
        if (offset > m_sourceBytes || bytes > m_sourceBytes - offset) {
            fail(wire::errors::fileRead,
                 m_source.path() + " cannot be read: it ends before the bytes to copy do");
        }
        if (m_target < 0) {
            openTarget(path);
        }
        if (m_targetBytes > bytes && ftruncate(m_target, static_cast<off_t>(bytes)) != 0) {
            failWrite(path, errno);
        }
        for (std::uint64_t done = 0; done < bytes; done += m_piece.size()) {
            const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(pieceBytes, bytes - done));
            m_source.read(offset + done, m_piece, count);
            write(path, done);
        }
    }

private:
    void openTarget(const std::string &path)
    {
        refuseToOverwrite(m_source, path);
        m_target = open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR);
        const std::optional<struct stat> status = m_target < 0 ? std::nullopt : statusOf(m_target);
        if (!status) {
            failWrite(path, errno);
        }
        m_targetIdentity = identityOf(status);
        m_targetBytes = static_cast<std::uint64_t>(status->st_size);
    }

    void write(const std::string &path, std::uint64_t offset) const
    {
        for (std::size_t done = 0; done < m_piece.size();) {
            const ssize_t written = pwrite(m_target, m_piece.data() + done, m_piece.size() - done,
                                           static_cast<off_t>(offset + done));
            if (written < 0 && errno != EINTR) {
                failWrite(path, errno);
            }
            done += written > 0 ? static_cast<std::size_t>(written) : 0;
        }
    }

    FileReader m_source;
    std::optional<Identity> m_sourceIdentity;
    std::uint64_t m_sourceBytes;
    int m_target = -1;
    std::optional<Identity> m_targetIdentity;
    std::uint64_t m_targetBytes = 0;
    std::string m_piece;
};

LocalFile::LocalFile(std::string path, bool isTemporary) : m_path(std::move(path)), m_isTemporary(isTemporary)
{}

LocalFile::LocalFile(LocalFile &&other) noexcept
    : m_path(std::move(other.m_path)), m_isTemporary(std::exchange(other.m_isTemporary, false)),
      m_copiedFrom(std::move(other.m_copiedFrom)), m_descriptors(std::move(other.m_descriptors))
{}

LocalFile &LocalFile::operator=(LocalFile &&other) noexcept
{
    if (this != &other) {
        removeFile();
        m_path = std::move(other.m_path);
        m_isTemporary = std::exchange(other.m_isTemporary, false);
        m_copiedFrom = std::move(other.m_copiedFrom);
        m_descriptors = std::move(other.m_descriptors);
    }
    return *this;
}

LocalFile::~LocalFile()
{
    removeFile();
}

std::uint64_t LocalFile::size() const
{
    struct stat status = {};
    if (stat(m_path.c_str(), &status) != 0) {
        failRead(m_path, errno);
    }
    if (!S_ISREG(status.st_mode)) {
        fail(wire::errors::fileRead, m_path + " cannot be read: it is not a file");
    }
    const auto bytes = static_cast<std::uint64_t>(status.st_size);
    if (bytes > wire::maxFileBytes) {
        fail(wire::errors::limitExceeded, m_path + " is too long: 2 GiB or more");
    }
    return bytes;
}

void LocalFile::copyFrom(const LocalFile &source, std::uint64_t offset, std::uint64_t bytes)
{
    m_copiedFrom.reset();
    if (!m_descriptors || !m_descriptors->areOf(source.path(), m_path)) {
        m_descriptors.reset();
        m_descriptors = std::make_unique<CopyDescriptors>(source.path());
    }
    m_descriptors->copy(m_path, offset, bytes);
    m_copiedFrom = FileSlice{source.path(), offset, bytes};
}

void LocalFile::appendContents(std::string &target, std::size_t bytes) const
{
    if (m_descriptors && m_descriptors->isTarget(m_path)) {
        const std::size_t place = target.size();
        target.resize(place + bytes);
        return readFully(m_descriptors->target(), m_path, 0, target, place);
    }
    FileReader(m_path).append(0, target, bytes);
}

void LocalFile::forgetOrigin()
{
    m_copiedFrom.reset();
    m_descriptors.reset();
}

void LocalFile::removeFile() noexcept
{
    if (m_isTemporary) {
        unlink(m_path.c_str());
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
    if (isFile(statusOf(path), identityOf(statusOf(source.descriptor())))) {
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
