// SPDX-License-Identifier: MIT
#include "tests/support/FreshMain.h"
#include "tests/support/ScopedVariable.h"
#include "tests/support/SettingsFolder.h"
#include "vrp/platform/text.h"
#include "vrp/settings/settings_store.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <functional>

namespace {

/// A process that runs `work`; its exit status is the result.
class Process
{
public:
    explicit Process(const std::function<int()> &work) : m_id(fork())
    {
        if (m_id == 0) {
            _exit(work());
        }
    }

    Process(const Process &) = delete;
    Process &operator=(const Process &) = delete;

    ~Process()
    {
        if (m_id > 0) {
            kill(m_id, SIGKILL);
            exitStatus();
        }
    }

    int exitStatus()
    {
        if (m_id > 0) {
            int status = 0;
            m_status = waitpid(m_id, &status, 0) == m_id && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
            m_id = -1;
        }
        return m_status;
    }

private:
    pid_t m_id;
    int m_status = -1;
};

/// Lets one process after the other go on.
class Signal
{
public:
    Signal() { EXPECT_EQ(pipe(m_ends.data()), 0); }

    ~Signal()
    {
        close(m_ends[0]);
        close(m_ends[1]);
    }

    Signal(const Signal &) = delete;
    Signal &operator=(const Signal &) = delete;

    [[nodiscard]] bool give() const { return write(m_ends[1], "", 1) == 1; }

    [[nodiscard]] bool await() const
    {
        char byte = 0;
        return read(m_ends[0], &byte, 1) == 1;
    }

private:
    std::array<int, 2> m_ends{-1, -1};
};

class ConcurrentStores : public testing::Test
{
protected:
    ConcurrentStores()
    {
        copyBounded(m_main->company, L"Acme");
        copyBounded(m_main->softwareName, L"Print");
    }

    [[nodiscard]] QString file() const
    {
        return m_settings.file(QStringLiteral("Acme"), QStringLiteral("Print"), true);
    }

    static void store(const std::wstring &name, const std::wstring &value)
    {
        setUserSetting(name.c_str(), value);
    }

    static std::vector<std::wstring> directories()
    {
        std::vector<std::wstring> list;
        VrpsGetServerDirectoriesFromRegistry(list, true);
        return list;
    }

    /// Makes a store that takes a while to read and to write.
    void fillWith(int values) const
    {
        QByteArray content = "[Messages]\n";
        for (int i = 0; i < values; ++i) {
            content += "Text" + QByteArray::number(i) + "=a text of some length\n";
        }
        SettingsFolder::write(file(), content);
    }

    /// Stores `count` values, one after the other.
    static int storeMany(const std::wstring &prefix, int count)
    {
        for (int i = 0; i < count; ++i) {
            store(prefix + std::to_wstring(i), prefix);
        }
        return 0;
    }

    static void expectMany(const std::wstring &prefix, int count)
    {
        for (int i = 0; i < count; ++i) {
            EXPECT_EQ(userSetting((prefix + std::to_wstring(i)).c_str()), prefix) << i;
        }
    }

    ScopedVariable m_memory{"TMPDIR", "/dev/shm"}; ///< where writes follow each other fastest
    SettingsFolder m_settings;
    FreshMain m_main;
};

TEST_F(ConcurrentStores, two_writers_lose_nothing_and_are_never_seen_half_way)
{
    constexpr int count = 50;
    store(L"Sdir", L"kept");
    const QString end = m_settings.folder(true) + QStringLiteral("/end");
    Process first([] { return storeMany(L"first", count); });
    Process second([] { return storeMany(L"second", count); });
    Process reader([&] {
        while (!QFile::exists(end)) {
            if (userSetting(L"Sdir") != L"kept") {
                return 1;
            }
        }
        return 0;
    });
    EXPECT_EQ(first.exitStatus(), 0);
    EXPECT_EQ(second.exitStatus(), 0);
    SettingsFolder::write(end, "");
    EXPECT_EQ(reader.exitStatus(), 0);
    expectMany(L"first", count);
    expectMany(L"second", count);
}

TEST_F(ConcurrentStores, what_one_process_removes_is_not_brought_back_by_another_that_writes)
{
    constexpr int count = 30;
    fillWith(1000);
    Process remover([] {
        for (int i = 0; i < count; ++i) {
            VrpsWriteServerDirectoriesToRegistry({L"a", L"b", L"c"}, true);
            VrpsWriteServerDirectoriesToRegistry({}, true);
            if (!directories().empty()) {
                return 1;
            }
        }
        return 0;
    });
    Process writer([] { return storeMany(L"value", count); });
    EXPECT_EQ(remover.exitStatus(), 0);
    EXPECT_EQ(writer.exitStatus(), 0);
    EXPECT_EQ(directories(), std::vector<std::wstring>());
    expectMany(L"value", count);
}

TEST_F(ConcurrentStores, a_value_of_the_same_length_is_seen_however_soon_after_the_other_it_is_written)
{
    constexpr int rounds = 100;
    const Signal ours;
    const Signal theirs;
    const auto value = [](int round) { return std::to_wstring(1000 + round); };
    Process other([&] {
        for (int round = 0; round < rounds; round += 2) {
            if (!ours.await() || userSetting(L"Sdir") != value(round)) {
                return 1;
            }
            store(L"Sdir", value(round + 1));
            if (!theirs.give()) {
                return 2;
            }
        }
        return 0;
    });
    for (int round = 0; round < rounds; round += 2) {
        store(L"Sdir", value(round));
        ASSERT_TRUE(ours.give());
        ASSERT_TRUE(theirs.await());
        ASSERT_EQ(userSetting(L"Sdir"), value(round + 1));
    }
    EXPECT_EQ(other.exitStatus(), 0);
}

TEST_F(ConcurrentStores, what_a_killed_writer_left_behind_does_no_harm_and_goes_with_the_next_write)
{
    store(L"Sdir", L"kept");
    SettingsFolder::write(file() + QStringLiteral(".kept"), "[Settings]\nSdir=old\nA=1\nB=2\n");
    SettingsFolder::write(file() + QStringLiteral(".writing"), "");
    store(L"LastMode", L"2");
    EXPECT_EQ(userSetting(L"Sdir"), L"kept");
    EXPECT_EQ(userSetting(L"LastMode"), L"2");
    EXPECT_EQ(QDir(QFileInfo(file()).path()).entryList(QDir::Files),
              QStringList(QStringLiteral("Print.conf")));
}

TEST_F(ConcurrentStores, a_writer_that_never_ends_delays_another_and_does_not_stop_it)
{
    store(L"Sdir", L"kept");
    const int lock = open((file() + QStringLiteral(".writing")).toLocal8Bit().constData(),
                          O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    ASSERT_EQ(flock(lock, LOCK_EX), 0);
    store(L"LastMode", L"2");
    EXPECT_EQ(userSetting(L"LastMode"), L"2");
    EXPECT_EQ(userSetting(L"Sdir"), L"kept");
    close(lock);
}

} // namespace
