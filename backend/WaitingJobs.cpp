// SPDX-License-Identifier: MIT
#include "backend/WaitingJobs.h"

#include "backend/cancel_signal.h"
#include "backend/descriptor_io.h"
#include "backend/spool_names.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <memory>

namespace backend {
namespace {

std::string named(std::string_view stem, std::string_view suffix)
{
    return std::string(stem) + std::string(suffix);
}

std::vector<std::string> fileNames(int folder)
{
    std::vector<std::string> names;
    // The stream moves the position of the descriptor that it is made from.
    FileDescriptor copy = openFolder(folder, ".");
    const std::unique_ptr<DIR, int (*)(DIR *)> stream(::fdopendir(copy.get()), ::closedir);
    if (stream == nullptr) {
        return names;
    }
    (void)copy.release(); // the stream's now
    while (const dirent *entry = ::readdir(stream.get())) {
        names.emplace_back(entry->d_name);
    }
    return names;
}

bool isOlder(int folder, const std::string &name, std::time_t limit)
{
    struct stat status
    {};

    return ::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(status.st_mode) &&
           status.st_mtime < limit;
}

bool exists(int folder, const std::string &name)
{
    return ::faccessat(folder, name.c_str(), F_OK, 0) == 0;
}

/// What is left of a delivery that was interrupted: a part, or a document that never got its ticket.
bool isLeftover(int folder, const std::string &name)
{
    if (name.ends_with(partSuffix)) {
        return true;
    }
    const std::string_view stem = stemOf(name, documentSuffix);
    return !stem.empty() && !exists(folder, named(stem, ticketSuffix)) &&
           !exists(folder, named(stem, claimedSuffix));
}

bool moveAndStamp(int from, const std::string &name, int to, const std::string &newName)
{
    if (::renameat(from, name.c_str(), to, newName.c_str()) != 0) {
        return false;
    }
    (void)::utimensat(to, newName.c_str(), nullptr, AT_SYMLINK_NOFOLLOW);
    return true;
}

} // namespace

std::optional<WaitingJobs> WaitingJobs::open(const std::string &folder)
{
    FileDescriptor opened = openFolder(AT_FDCWD, folder);

    struct stat status
    {};

    if (!opened.isOpen() || ::fstat(opened.get(), &status) != 0 || status.st_uid != ::geteuid() ||
        (status.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
        return std::nullopt;
    }
    return WaitingJobs(folder, std::move(opened));
}

bool WaitingJobs::lock()
{
    m_lock = FileDescriptor(
        ::openat(m_folder.get(), "agent.lock", O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600));
    while (m_lock.isOpen()) {
        if (::flock(m_lock.get(), LOCK_EX) == 0) {
            return !isCancelled();
        }
        if (errno != EINTR || isCancelled()) {
            break;
        }
    }
    return false;
}

std::vector<std::string> WaitingJobs::stems(std::string_view suffix) const
{
    std::vector<std::string> found;
    for (const std::string &name : fileNames(m_folder.get())) {
        if (const std::string_view stem = stemOf(name, suffix); !stem.empty()) {
            found.emplace_back(stem);
        }
    }
    std::sort(found.begin(), found.end());
    return found;
}

std::vector<std::string> WaitingJobs::waiting() const
{
    return stems(ticketSuffix);
}

std::vector<std::string> WaitingJobs::abandoned() const
{
    return stems(claimedSuffix);
}

bool WaitingJobs::claim(const std::string &stem) const
{
    return ::renameat(m_folder.get(), named(stem, ticketSuffix).c_str(), m_folder.get(),
                      named(stem, claimedSuffix).c_str()) == 0;
}

std::optional<JobTicket> WaitingJobs::ticket(const std::string &stem) const
{
    const FileDescriptor file(::openat(m_folder.get(), named(stem, claimedSuffix).c_str(),
                                       O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    const auto text = file.isOpen() ? readText(file.get(), maxTicketBytes + 1) : std::nullopt;
    return text ? parseTicket(*text) : std::nullopt;
}

bool WaitingJobs::hasDocument(const std::string &stem) const
{
    struct stat status
    {};

    if (::fstatat(m_folder.get(), named(stem, documentSuffix).c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
        return errno != ENOENT;
    }
    return S_ISREG(status.st_mode) && status.st_uid == ::geteuid();
}

std::string WaitingJobs::documentPath(const std::string &stem) const
{
    return m_path + "/" + named(stem, documentSuffix);
}

void WaitingJobs::removeWorkFiles(const std::string &stem) const
{
    for (const std::string &name : fileNames(m_folder.get())) {
        if (name.starts_with(named(stem, documentSuffix) + ".")) {
            (void)::unlinkat(m_folder.get(), name.c_str(), 0);
        }
    }
}

void WaitingJobs::remove(const std::string &stem) const
{
    (void)::unlinkat(m_folder.get(), named(stem, claimedSuffix).c_str(), 0);
}

std::string WaitingJobs::moveToFailed(const std::string &stem) const
{
    (void)::mkdirat(m_folder.get(), failedFolder, 0700);
    const FileDescriptor failed = openFolder(m_folder.get(), failedFolder);
    if (!moveAndStamp(m_folder.get(), named(stem, documentSuffix), failed.get(),
                      named(stem, documentSuffix))) {
        return {};
    }
    (void)moveAndStamp(m_folder.get(), named(stem, claimedSuffix), failed.get(), named(stem, ticketSuffix));
    return m_path + "/" + failedFolder + "/" + named(stem, documentSuffix);
}

void WaitingJobs::cleanUp(std::time_t now) const
{
    for (const std::string &name : fileNames(m_folder.get())) {
        if (isLeftover(m_folder.get(), name) && isOlder(m_folder.get(), name, now - leftoverKeptSeconds)) {
            (void)::unlinkat(m_folder.get(), name.c_str(), 0);
        }
    }
    const FileDescriptor failed = openFolder(m_folder.get(), failedFolder);
    for (const std::string &name : failed.isOpen() ? fileNames(failed.get()) : std::vector<std::string>()) {
        if (isOlder(failed.get(), name, now - failedKeptSeconds)) {
            (void)::unlinkat(failed.get(), name.c_str(), 0);
        }
    }
}

} // namespace backend
