// SPDX-License-Identifier: MIT
#include "tests/support/FreshMain.h"
#include "tests/support/SettingsFolder.h"
#include "vrp/platform/text.h"
#include "vrp/settings/settings_store.h"

#include <QDir>

#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <limits>
#include <string>
#include <string_view>
#include <utility>

namespace {

/// How many of the next reads of a store's file the disk fails.
int readsToFail = 0;

bool isStoreFile(int descriptor)
{
    char path[512] = {};
    const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
    return ::readlink(link.c_str(), path, sizeof path - 1) > 0 &&
           std::string_view(path).find("Print.conf") != std::string_view::npos;
}

} // namespace

/// Takes the place of the system's read(2) in this program, for the toolkit, too.
extern "C" __attribute__((visibility("default"))) ssize_t readOfThisProgram(int descriptor, void *buffer,
                                                                            size_t bytes) __asm__("read");

ssize_t readOfThisProgram(int descriptor, void *buffer, size_t bytes)
{
    if (readsToFail > 0 && isStoreFile(descriptor)) {
        --readsToFail;
        errno = EIO;
        return -1;
    }
    return ::syscall(SYS_read, descriptor, buffer, bytes);
}

namespace {

class UnreadableStore : public testing::Test
{
protected:
    UnreadableStore()
    {
        copyBounded(m_main->company, L"Acme");
        copyBounded(m_main->softwareName, L"Print");
        setUserSetting(L"First", L"1");
        setUserSetting(L"Second", L"2");
    }

    ~UnreadableStore() override { readsToFail = 0; }

    [[nodiscard]] QStringList files() const
    {
        return QDir(m_settings.folder(true) + QStringLiteral("/Acme")).entryList(QDir::Files | QDir::Hidden);
    }

    SettingsFolder m_settings;
    FreshMain m_main;
};

TEST_F(UnreadableStore, loses_nothing_when_a_read_fails_before_a_write)
{
    for (int failing = 1; failing <= 4; ++failing) {
        readsToFail = failing;
        setUserSetting(L"Third", std::to_wstring(failing));
        EXPECT_EQ(std::exchange(readsToFail, 0), 0) << failing;
        EXPECT_EQ(userSetting(L"First"), L"1") << failing;
        EXPECT_EQ(userSetting(L"Second"), L"2") << failing;
        EXPECT_EQ(userSetting(L"Third"), std::to_wstring(failing));
    }
}

TEST_F(UnreadableStore, is_not_written_while_it_cannot_be_read)
{
    readsToFail = std::numeric_limits<int>::max();
    setUserSetting(L"Third", L"3");
    EXPECT_LT(std::exchange(readsToFail, 0), std::numeric_limits<int>::max());
    setUserSetting(L"Fourth", L"4");
    EXPECT_EQ(userSetting(L"First"), L"1");
    EXPECT_EQ(userSetting(L"Second"), L"2");
    EXPECT_EQ(userSetting(L"Third"), L"");
    EXPECT_EQ(userSetting(L"Fourth"), L"4");
    EXPECT_EQ(files(), QStringList{QStringLiteral("Print.conf")});
}

} // namespace
