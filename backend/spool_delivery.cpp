// SPDX-License-Identifier: MIT
#include "backend/spool_delivery.h"

#include "backend/backend_failure.h"
#include "backend/cancel_signal.h"
#include "backend/spool_names.h"

#include <fcntl.h>
#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

namespace backend {
namespace {

constexpr std::size_t blockBytes = 65536;

void writeAll(int fd, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t written = ::write(fd, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written < 0) {
            throw systemFailure("Cannot write to the spool");
        }
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
}

void sync(int fd)
{
    while (::fsync(fd) != 0) {
        if (errno != EINTR) {
            throw systemFailure("Cannot write to the spool");
        }
    }
}

/// The first bytes and the last kilobyte of a document, enough to tell whether a PDF is whole.
class DocumentEnds
{
public:
    void add(std::string_view block)
    {
        m_first += block.substr(0, firstBytes - std::min(firstBytes, m_first.size()));
        m_last += block.substr(block.size() - std::min(lastBytes, block.size()));
        m_last.erase(0, m_last.size() - std::min(lastBytes, m_last.size()));
    }

    [[nodiscard]] bool isWhole() const
    {
        if (m_first.empty()) {
            return false;
        }
        return !m_first.starts_with("%PDF-") || m_last.find("%%EOF") != std::string::npos;
    }

private:
    static constexpr std::size_t firstBytes = 5;
    static constexpr std::size_t lastBytes = 1024;
    std::string m_first;
    std::string m_last;
};

void refuseIfCancelled()
{
    if (isCancelled()) {
        throw BackendFailure(ExitCode::cancel, "The job was cancelled");
    }
}

/// The next block; empty at the end of the document.
std::string_view readBlock(int fd, std::array<char, blockBytes> &buffer)
{
    for (;;) {
        if (!waitReadable(fd, -1)) {
            refuseIfCancelled();
        }
        const ssize_t got = ::read(fd, buffer.data(), buffer.size());
        if (got >= 0) {
            return {buffer.data(), static_cast<std::size_t>(got)};
        }
        if (errno != EINTR && errno != EAGAIN) {
            throw systemFailure("Cannot read the document");
        }
    }
}

void copyDocument(const DocumentSource &source, int target)
{
    std::array<char, blockBytes> buffer{};
    DocumentEnds ends;
    for (auto block = readBlock(source.fd.get(), buffer); !block.empty();
         block = readBlock(source.fd.get(), buffer)) {
        ends.add(block);
        writeAll(target, block);
    }
    refuseIfCancelled();
    if (source.fromFilters && !ends.isWhole()) {
        throw BackendFailure(ExitCode::cancel, "The document is incomplete: it could not be converted");
    }
}

FileDescriptor openFolder(int parent, const std::string &name)
{
    return FileDescriptor(::openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

bool isRoot()
{
    return ::geteuid() == 0;
}

/// The root folder must be nobody's but the one this process runs as (root), or a user could swap folders in
/// it; and its users must be able to pass through it.
FileDescriptor openRoot(const std::string &root)
{
    (void)::mkdir(root.c_str(), 0711);
    FileDescriptor folder = openFolder(AT_FDCWD, root);

    struct stat status
    {};

    if (!folder.isOpen() || ::fstat(folder.get(), &status) != 0) {
        throw systemFailure("Cannot open the spool " + root);
    }
    if (status.st_uid != ::geteuid() || (status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        throw BackendFailure(ExitCode::hold, "The spool " + root + " can be changed by others than root");
    }
    if ((status.st_mode & S_IXOTH) == 0 && ::fchmod(folder.get(), 0711) != 0) {
        throw systemFailure("Cannot set the permissions of the spool " + root);
    }
    return folder;
}

/// Tells agents that wait for their first job that there is a new folder. They find it without this as well,
/// later.
void touchMarker(int root)
{
    const FileDescriptor marker(
        ::openat(root, newFolderMarker, O_WRONLY | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0644));
    if (marker.isOpen() && ::fchmod(marker.get(), 0644) == 0) {
        (void)::futimens(marker.get(), nullptr);
    }
}

/// Nobody but root can have made a folder in the root folder: one that still is root's was left by a backend
/// that was stopped before it had handed the folder over.
void handOver(int root, const std::string &name, const Account &account)
{
    const FileDescriptor folder = openFolder(root, name);

    struct stat status
    {};

    if (!folder.isOpen() || ::fstat(folder.get(), &status) != 0 ||
        (status.st_uid != account.uid && ::fchown(folder.get(), account.uid, account.gid) != 0)) {
        throw systemFailure("Cannot create the spool of '" + account.name + "'");
    }
    touchMarker(root);
}

bool isLeftToRoot(int root, const std::string &name)
{
    struct stat status
    {};

    return ::fstatat(root, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 && status.st_uid == 0;
}

void createUserFolder(int root, const std::string &name, const Account &account)
{
    const bool created = ::mkdirat(root, name.c_str(), 0700) == 0;
    if (!created && errno != EEXIST) {
        throw systemFailure("Cannot create the spool of '" + account.name + "'");
    }
    if (created || (isRoot() && isLeftToRoot(root, name))) {
        handOver(root, name, account);
    }
}

std::string partName(const std::string &name)
{
    return name + std::string(partSuffix);
}

} // namespace

BackendFailure systemFailure(const std::string &action)
{
    return {ExitCode::hold, action + ": " + std::strerror(errno)};
}

FileDescriptor openUserFolder(const std::string &root, const Account &account)
{
    const FileDescriptor parent = openRoot(root);
    const std::string name = std::to_string(account.uid);
    createUserFolder(parent.get(), name, account);
    FileDescriptor folder = openFolder(parent.get(), name);

    struct stat status
    {};

    if (!folder.isOpen() || ::fstat(folder.get(), &status) != 0) {
        throw systemFailure("Cannot open the spool of '" + account.name + "'");
    }
    if (status.st_uid != account.uid || (status.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
        throw BackendFailure(ExitCode::hold, "The spool of '" + account.name + "' is open to others");
    }
    return folder;
}

void takeIdentity(const Account &account)
{
    if (!isRoot()) {
        if (::geteuid() == account.uid) {
            return;
        }
        throw BackendFailure(ExitCode::hold,
                             "The backend does not run as root: its file must have mode 0700");
    }
    const gid_t group = account.gid;
    if (::setgroups(1, &group) != 0 || ::setgid(account.gid) != 0 || ::setuid(account.uid) != 0) {
        throw systemFailure("Cannot become '" + account.name + "'");
    }
    if (::setuid(0) == 0 || ::getuid() != account.uid || ::geteuid() != account.uid) {
        throw BackendFailure(ExitCode::hold, "Cannot give up the rights of root");
    }
}

SpoolDelivery::~SpoolDelivery()
{
    for (const std::string &name : m_staged) {
        (void)::unlinkat(m_folder, partName(name).c_str(), 0);
    }
    for (const std::string &name : m_renamed) {
        if (const std::string_view stem = stemOf(name, documentSuffix); !stem.empty()) {
            withdraw(std::string(stem));
        }
    }
}

/// Without its ticket a document is no job. Where there was a ticket and it has gone, an agent has taken it.
void SpoolDelivery::withdraw(const std::string &stem) const
{
    const std::string ticket = stem + std::string(ticketSuffix);
    const bool hadTicket = std::find(m_renamed.begin(), m_renamed.end(), ticket) != m_renamed.end();
    if (!hadTicket || ::unlinkat(m_folder, ticket.c_str(), 0) == 0) {
        (void)::unlinkat(m_folder, (stem + std::string(documentSuffix)).c_str(), 0);
    }
}

FileDescriptor SpoolDelivery::createPart(const std::string &name)
{
    constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    FileDescriptor file(::openat(m_folder, partName(name).c_str(), flags, 0600));
    if (!file.isOpen()) {
        throw systemFailure("Cannot write to the spool");
    }
    m_staged.push_back(name);
    return file;
}

void SpoolDelivery::stage(const std::string &stem, const DocumentSource &source, const JobTicket &ticket)
{
    const FileDescriptor document = createPart(stem + std::string(documentSuffix));
    copyDocument(source, document.get());
    sync(document.get());
    const FileDescriptor paper = createPart(stem + std::string(ticketSuffix));
    writeAll(paper.get(), formatTicket(ticket));
    sync(paper.get());
}

void SpoolDelivery::publishStaged(std::string_view suffix)
{
    for (auto name = m_staged.begin(); name != m_staged.end();) {
        if (stemOf(*name, suffix).empty()) {
            ++name;
            continue;
        }
        if (::renameat(m_folder, partName(*name).c_str(), m_folder, name->c_str()) != 0) {
            throw systemFailure("Cannot write to the spool");
        }
        m_renamed.push_back(*name);
        name = m_staged.erase(name);
    }
}

void SpoolDelivery::publish()
{
    publishStaged(documentSuffix);
    publishStaged(ticketSuffix);
    sync(m_folder);
    m_renamed.clear();
}

} // namespace backend
