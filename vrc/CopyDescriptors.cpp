// SPDX-License-Identifier: MIT
#include "vrc/CopyDescriptors.h"

#include "vrc/Failure.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace vrc {
namespace {

constexpr std::size_t pieceBytes = 65536;

bool areSame(const std::optional<FileStatus> &one, const std::optional<FileStatus> &other)
{
    return one && other && one->identity == other->identity;
}

} // namespace

CopyDescriptors::CopyDescriptors(const std::string &source)
    : m_source(source), m_sourceStatus(statusOf(m_source.descriptor()))
{}

CopyDescriptors::~CopyDescriptors()
{
    if (m_target >= 0) {
        ::close(m_target);
    }
}

bool CopyDescriptors::areOf(const std::string &source, const std::string &target)
{
    const std::optional<FileStatus> sourceStatus = statusOf(source);
    const std::optional<FileStatus> targetStatus = statusOf(target);
    if (source != m_source.path() || !areSame(sourceStatus, m_sourceStatus) ||
        !areSame(targetStatus, m_targetStatus)) {
        return false;
    }
    m_sourceStatus = sourceStatus;
    m_targetStatus = targetStatus;
    return true;
}

bool CopyDescriptors::isTarget(const std::string &path) const
{
    return areSame(statusOf(path), m_targetStatus);
}

void CopyDescriptors::copy(const std::string &path, std::uint64_t offset, std::uint64_t bytes)
{
    const std::uint64_t sourceBytes = m_sourceStatus ? m_sourceStatus->bytes : 0;
    if (offset > sourceBytes || bytes > sourceBytes - offset) {
        fail(wire::errors::fileRead,
             m_source.path() + " cannot be read: it ends before the bytes to copy do");
    }
    if (m_target < 0) {
        openTarget(path);
    }
    if (m_targetStatus->bytes > bytes && ftruncate(m_target, static_cast<off_t>(bytes)) != 0) {
        failWrite(path, errno);
    }
    for (std::uint64_t done = 0; done < bytes; done += m_piece.size()) {
        const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(pieceBytes, bytes - done));
        m_source.read(offset + done, m_piece, count);
        write(path, done);
    }
}

void CopyDescriptors::appendTarget(const std::string &path, std::string &contents, std::size_t bytes) const
{
    const std::size_t place = contents.size();
    contents.resize(place + bytes);
    readFully(m_target, path, 0, contents, place);
}

void CopyDescriptors::openTarget(const std::string &path)
{
    refuseToOverwrite(m_source, path);
    m_target = open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR);
    m_targetStatus = m_target < 0 ? std::nullopt : statusOf(m_target);
    if (!m_targetStatus) {
        failWrite(path, errno);
    }
}

void CopyDescriptors::write(const std::string &path, std::uint64_t offset) const
{
    for (std::size_t done = 0; done < m_piece.size();) {
        const ssize_t written =
            pwrite(m_target, m_piece.data() + done, m_piece.size() - done, static_cast<off_t>(offset + done));
        if (written < 0 && errno != EINTR) {
            failWrite(path, errno);
        }
        done += written > 0 ? static_cast<std::size_t>(written) : 0;
    }
}

} // namespace vrc
