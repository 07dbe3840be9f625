// SPDX-License-Identifier: MIT
#include "vrc/LocalFile.h"

#include "vrc/CopyDescriptors.h"
#include "vrc/Failure.h"
#include "vrc/file_access.h"
#include "wire/limits.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace vrc {

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
        return m_descriptors->appendTarget(m_path, target, bytes);
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

} // namespace vrc
