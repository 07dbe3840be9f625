// SPDX-License-Identifier: MIT
#include "backend/WaitingJobs.h"
#include "tests/unit/backend/files_on_disk.h"

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>

namespace {

bool listingFails = false;

} // namespace

/// In front of the C library's.
extern "C" DIR *fdopendir(int fd)
{
    if (listingFails) {
        errno = ENOMEM;
        return nullptr;
    }
    return reinterpret_cast<DIR *(*)(int)>(::dlsym(RTLD_NEXT, "fdopendir"))(fd);
}

namespace {

/// The lowest descriptor that is free.
int nextDescriptor()
{
    const int fd = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    ::close(fd);
    return fd;
}

TEST(UnlistedFolder, holds_no_jobs_and_leaves_no_descriptor_open)
{
    const TemporaryFolder folder;
    writeFile(folder.path() / "1.ticket", "");
    const auto jobs = backend::WaitingJobs::open(folder.path());
    ASSERT_TRUE(jobs);
    EXPECT_EQ(jobs->waiting().size(), 1U);
    const int before = nextDescriptor();
    listingFails = true;
    EXPECT_TRUE(jobs->waiting().empty());
    listingFails = false;
    EXPECT_EQ(nextDescriptor(), before);
    EXPECT_EQ(jobs->waiting().size(), 1U);
}

} // namespace
