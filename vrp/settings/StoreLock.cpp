// SPDX-License-Identifier: MIT
#include "vrp/settings/StoreLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <thread>
#include <utility>

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds patience{2000};
constexpr milliseconds pollDelay{1};
constexpr int none = -1;

/// Whether an open file still has its name: the process that held the lock before may have removed it.
bool isNamed(int descriptor, const char *path)
{
    struct stat opened = {};
    struct stat named = {};
    return fstat(descriptor, &opened) == 0 && lstat(path, &named) == 0 && opened.st_dev == named.st_dev &&
           opened.st_ino == named.st_ino;
}

bool takes(int descriptor, const char *path)
{
    return flock(descriptor, LOCK_EX | LOCK_NB) == 0 && isNamed(descriptor, path);
}

int acquire(const char *path)
{
    const auto limit = steady_clock::now() + patience;
    for (;;) {
        const int descriptor = open(path, O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR);
        if (descriptor < 0 || takes(descriptor, path)) {
            return descriptor;
        }
        close(descriptor);
        if (steady_clock::now() > limit) {
            return none;
        }
        std::this_thread::sleep_for(pollDelay);
    }
}

} // namespace

StoreLock::StoreLock(QByteArray path) : m_path(std::move(path)), m_descriptor(acquire(m_path.constData()))
{}

StoreLock::~StoreLock()
{
    if (isHeld()) {
        // Removed first: who opens the file behind the lock's end finds it without a name.
        unlink(m_path.constData());
        close(m_descriptor);
    }
}
