// SPDX-License-Identifier: MIT
#include "vrp/settings/GuardedSettings.h"

#ifndef Q_OS_MACOS

#include "vrp/core/utf8_codec.h"
#include "vrp/settings/store_check.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>

namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using std::chrono::seconds;

/// When a file was modified, in the unit in which the toolkit compares times.
milliseconds timeOf(const struct stat &status)
{
    return std::chrono::floor<milliseconds>(seconds(status.st_mtim.tv_sec) +
                                            nanoseconds(status.st_mtim.tv_nsec));
}

void setTime(const char *file, milliseconds time)
{
    timespec times[2] = {};
    times[0].tv_nsec = UTIME_OMIT;
    times[1].tv_sec = static_cast<time_t>(time.count() / 1000);
    times[1].tv_nsec = static_cast<long>(time.count() % 1000 * 1'000'000);
    utimensat(AT_FDCWD, file, times, 0);
}

/// Makes a file a little later than it is, so that the toolkit reads it again. What the toolkit has in memory
/// may be the content of the file before under the time of this one: it asks for the time after it has read.
void outdateMemory(const char *file)
{
    struct stat status = {};
    if (stat(file, &status) == 0) {
        setTime(file, timeOf(status) + milliseconds(1));
    }
}

/// Makes a file later than another. The toolkit keeps what it has read for as long as size and time of the
/// file stay the same, and the clock of a file system ticks slower than two processes write.
void makeLater(const char *file, const char *earlier)
{
    struct stat ours = {};
    struct stat theirs = {};
    if (stat(file, &ours) == 0 && stat(earlier, &theirs) == 0 && ours.st_ino != theirs.st_ino &&
        timeOf(ours) <= timeOf(theirs)) {
        setTime(file, timeOf(theirs) + milliseconds(1));
    }
}

} // namespace

GuardedSettings::GuardedSettings(Scope scope, const QString &organisation, const QString &application)
    : QSettings(NativeFormat, scope, organisation, application), m_file(fileName().toLocal8Bit()),
      m_kept(m_file + ".kept"), m_lock(m_file + ".writing")
{
    useUtf8(*this); // before anything is read
    setFallbacksEnabled(false);
    if (m_lock.isHeld()) {
        keepFile();
        readWhole();
    }
}

void GuardedSettings::keepFile()
{
    ::unlink(m_kept.constData());
    m_isKept = ::link(m_file.constData(), m_kept.constData()) == 0;
}

void GuardedSettings::readWhole()
{
    int attempts = 3; // a disk that failed once may read the next time
    do {
        outdateMemory(m_file.constData());
        sync();
        m_isReadWhole = !m_isKept || isReadAs(*this, QString::fromLocal8Bit(m_kept));
    } while (!m_isReadWhole && --attempts > 0);
}

GuardedSettings::~GuardedSettings()
{
    if (!m_isKept) {
        sync(); // while the lock is held
        return;
    }
    while (!group().isEmpty()) {
        endGroup();
    }
    if (isCutShort(*this)) {
        ::rename(m_kept.constData(), m_file.constData());
    }
    makeLater(m_file.constData(), m_kept.constData());
    // Two names of one file are not renamed.
    ::unlink(m_kept.constData());
}

#endif
