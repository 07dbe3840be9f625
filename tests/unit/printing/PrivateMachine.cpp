// SPDX-License-Identifier: MIT
#include "tests/unit/printing/PrivateMachine.h"

#include <sched.h>
#include <sys/mount.h>
#include <sys/statvfs.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <system_error>

namespace {

[[maybe_unused]] const auto *const privateMachine = testing::AddGlobalTestEnvironment(new PrivateMachine);

void require(int result, const std::string &what)
{
    if (result != 0) {
        throw std::system_error(errno, std::generic_category(), what + " (these tests run as root)");
    }
}

} // namespace

void PrivateMachine::SetUp()
{
    require(unshare(CLONE_NEWNS), "unshare");
    require(mount("none", "/", "none", MS_REC | MS_PRIVATE, nullptr), "private mounts");
    require(mount("tmpfs", "/usr/libexec", "tmpfs", 0, "mode=755"), "mount on /usr/libexec");
    std::filesystem::create_directories("/usr/libexec/cups/backend");
    // Temporary folders in memory: a store is synced to the disk at each of some hundred writes.
    std::filesystem::create_directory("/usr/libexec/tmp");
    setenv("TMPDIR", "/usr/libexec/tmp", 1);
}

SmallDisk::SmallDisk(std::string folder, int kibibytes) : m_folder(std::move(folder))
{
    const std::string options = "mode=755,size=" + std::to_string(kibibytes) + "k";
    require(mount("tmpfs", m_folder.c_str(), "tmpfs", 0, options.c_str()), "mount on " + m_folder);
}

SmallDisk::~SmallDisk()
{
    umount2(m_folder.c_str(), MNT_DETACH);
}

void SmallDisk::fill(int freeBytes) const
{
    struct statvfs state = {};
    require(statvfs(m_folder.c_str(), &state), "statvfs " + m_folder);
    const auto free = static_cast<std::size_t>(state.f_bavail * state.f_bsize);
    std::ofstream(m_folder + "/filler") << std::string(free - static_cast<std::size_t>(freeBytes), '#');
}

void SmallDisk::makeReadOnly() const
{
    require(mount("none", m_folder.c_str(), "none", MS_REMOUNT | MS_RDONLY, nullptr), "remount " + m_folder);
}
