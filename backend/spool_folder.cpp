// SPDX-License-Identifier: MIT
#include "backend/spool_folder.h"

#include "backend/backend_failure.h"
#include "backend/descriptor_io.h"
#include "backend/spool_names.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace backend {
namespace {

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
    if (created || (::geteuid() == 0 && isLeftToRoot(root, name))) {
        handOver(root, name, account);
    }
}

} // namespace

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

} // namespace backend
