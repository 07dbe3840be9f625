// SPDX-License-Identifier: MIT
#include "tests/unit/server/DirectoryTest.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cstring>

namespace {

/// Tells in which order the two stores of the installed printer are written.
class StoreWrites
{
public:
    explicit StoreWrites(const SettingsFolder &settings)
        : m_events(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)), m_user(watch(settings, true)),
          m_machine(watch(settings, false))
    {}

    ~StoreWrites() { ::close(m_events); }

    StoreWrites(const StoreWrites &) = delete;
    StoreWrites &operator=(const StoreWrites &) = delete;

    /// The stores that were written since the last call, one after the other; several writes of one in a row
    /// count once.
    std::string take()
    {
        std::string order;
        std::string last;
        std::array<char, 65536> bytes{};
        for (ssize_t count = read(m_events, bytes.data(), bytes.size()); count > 0;
             count = read(m_events, bytes.data(), bytes.size())) {
            for (const char *at = bytes.data(); at < bytes.data() + count;) {
                inotify_event event{};
                std::memcpy(&event, at, sizeof event);
                const std::string name = nameOf(event, at + sizeof event);
                if (!name.empty() && name != last) {
                    last = name;
                    order += order.empty() ? name : ", " + name;
                }
                at += sizeof event + event.len;
            }
        }
        return order;
    }

private:
    [[nodiscard]] int watch(const SettingsFolder &settings, bool perUser) const
    {
        const QString store = settings.file(QStringLiteral("Company"), QStringLiteral("Software"), perUser);
        const QString folder = QFileInfo(store).path();
        EXPECT_TRUE(QDir().mkpath(folder));
        return inotify_add_watch(m_events, QFile::encodeName(folder).constData(),
                                 IN_CREATE | IN_MOVED_TO | IN_CLOSE_WRITE);
    }

    /// Empty for the files that come and go beside a store.
    [[nodiscard]] std::string nameOf(const inotify_event &event, const char *file) const
    {
        if (event.len == 0 || std::strcmp(file, "Software.conf") != 0) {
            return {};
        }
        return event.wd == m_user ? "user" : event.wd == m_machine ? "machine" : "";
    }

    int m_events;
    int m_user;
    int m_machine;
};

using Directory = DirectoryTest;

TEST_F(Directory, the_users_store_is_written_before_the_machines_but_for_the_help_topics)
{
    StoreWrites writes(settings);
    library.before("VR_PROC=|GetData| DIRECTORY=|dir| KEY=|Settings|", [&] { writes.take(); }); // the proxy
    library.before("VR_CMD=|OBJECT:GET| NAME=|parameters|",
                   [&] { EXPECT_EQ(writes.take(), "user, machine") << "the directory that answered"; });
    library.before("VR_PROC=|GetData| DIRECTORY=|dir| KEY=|Help|",
                   [&] { EXPECT_EQ(writes.take(), "user, machine") << "the directories"; });
    EXPECT_EQ(run(), 0);
    EXPECT_EQ(writes.take(), "machine, user") << "the help topics";
}

} // namespace
