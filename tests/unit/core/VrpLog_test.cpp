// SPDX-License-Identifier: MIT
#include "vrp/core/VrpLog.h"

#include "tests/support/ScopedVariable.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <array>
#include <ctime>
#include <string>

namespace {

using testing::MatchesRegex;

class Log : public testing::Test
{
protected:
    QTemporaryDir m_folder;
    QString m_path = m_folder.filePath(QStringLiteral("run.log"));
    VrpLog m_log;

    void SetUp() override { m_log.fileName = m_path.toStdWString(); }

    [[nodiscard]] std::string content() const
    {
        QFile file(m_path);
        return file.open(QIODevice::ReadOnly) ? file.readAll().toStdString() : "(no file)";
    }
};

constexpr std::size_t dateLength = sizeof "dd/mm/yyyy" - 1;
constexpr char stamp[] = "[0-3][0-9]/[01][0-9]/20[0-9][0-9] - [0-2][0-9]:[0-5][0-9]:[0-6][0-9]\r\n";

TEST(LogTimeStamp, is_day_first_with_leading_zeros)
{
    std::tm local{};
    local.tm_mday = 3;
    local.tm_mon = 2;
    local.tm_year = 113;
    local.tm_hour = 9;
    local.tm_min = 5;
    local.tm_sec = 7;
    EXPECT_EQ(logTimeStamp(local), L"03/03/2013 - 09:05:07");
}

TEST_F(Log, is_stamped_with_the_local_time)
{
    const std::array<const char *, 2> zones{"AAA-14", "BBB+11"}; // a day and an hour apart
    std::array<std::string, 2> stamps;
    for (std::size_t i = 0; i < zones.size(); ++i) {
        const ScopedVariable zone("TZ", zones.at(i));
        tzset();
        m_log.Open();
        m_log.Close();
        stamps.at(i) = content().substr(0, dateLength);
    }
    tzset();
    EXPECT_NE(stamps[0], stamps[1]);
}

TEST_F(Log, without_a_name_creates_no_file)
{
    EXPECT_TRUE(m_log.isWanted());
    m_log.fileName.clear();
    EXPECT_FALSE(m_log.isWanted());
    m_log.Open();
    m_log.WriteLn(L"text");
    m_log.Remove();
    m_log.Close();
    EXPECT_EQ(m_log.file, nullptr);
    EXPECT_TRUE(QDir(m_folder.path()).isEmpty());
}

TEST_F(Log, creates_no_file_before_the_first_write)
{
    EXPECT_EQ(content(), "(no file)");
}

TEST_F(Log, starts_with_the_time_stamp_on_a_line_of_its_own)
{
    m_log.Open();
    EXPECT_THAT(content(), MatchesRegex(stamp));
}

TEST_F(Log, holds_every_write_at_once_to_the_byte)
{
    m_log.WriteLn(L"Mode=Send");
    m_log.Write(L"\t");
    EXPECT_THAT(content(), MatchesRegex(std::string(stamp) + "Mode=Send\r\n\t"));
    m_log.WriteLn(L"Grüße €");
    EXPECT_THAT(content(), MatchesRegex(std::string(stamp) + "Mode=Send\r\n\tGrüße €\r\n"));
}

TEST_F(Log, a_null_text_opens_the_file_and_writes_nothing)
{
    m_log.Write(nullptr);
    EXPECT_THAT(content(), MatchesRegex(stamp));
}

TEST_F(Log, a_null_line_is_an_empty_line)
{
    m_log.WriteLn(nullptr);
    EXPECT_THAT(content(), MatchesRegex(std::string(stamp) + "\r\n"));
}

TEST_F(Log, an_earlier_file_is_emptied)
{
    QFile earlier(m_path);
    ASSERT_TRUE(earlier.open(QIODevice::WriteOnly));
    earlier.write("an earlier run\r\n");
    earlier.close();
    m_log.Open();
    EXPECT_THAT(content(), MatchesRegex(stamp));
}

TEST_F(Log, a_write_after_close_empties_the_file_again)
{
    m_log.WriteLn(L"first");
    m_log.Close();
    m_log.WriteLn(L"second");
    EXPECT_THAT(content(), MatchesRegex(std::string(stamp) + "second\r\n"));
}

TEST_F(Log, remove_deletes_the_file)
{
    m_log.WriteLn(L"text");
    m_log.Close();
    m_log.Remove();
    EXPECT_EQ(content(), "(no file)");
}

TEST_F(Log, a_path_that_cannot_be_opened_is_tried_again_at_the_next_write)
{
    const QString folder = m_folder.filePath(QStringLiteral("later"));
    m_path = folder + QStringLiteral("/run.log");
    m_log.fileName = m_path.toStdWString();
    m_log.WriteLn(L"lost");
    EXPECT_EQ(m_log.file, nullptr);
    ASSERT_TRUE(QDir().mkdir(folder));
    m_log.WriteLn(L"kept");
    EXPECT_THAT(content(), MatchesRegex(std::string(stamp) + "kept\r\n"));
}

TEST_F(Log, a_full_disk_is_silent)
{
    m_log.fileName = L"/dev/full";
    m_log.WriteLn(L"lost");
    m_log.WriteLn(L"lost");
    EXPECT_NE(m_log.file, nullptr);
}

TEST_F(Log, is_readable_by_its_owner_alone)
{
    m_log.Open();
    struct stat status = {};
    ASSERT_EQ(stat(m_path.toLocal8Bit().constData(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

TEST_F(Log, has_no_byte_order_mark_and_takes_characters_beyond_the_basic_plane)
{
    m_log.Write(L"\U0001F5A8");
    EXPECT_THAT(content(), MatchesRegex(std::string(stamp) + "\xF0\x9F\x96\xA8"));
}

TEST_F(Log, closes_when_it_is_destroyed)
{
    {
        VrpLog log;
        log.fileName = m_log.fileName;
        log.WriteLn(L"text");
    }
    EXPECT_THAT(content(), MatchesRegex(std::string(stamp) + "text\r\n"));
}

} // namespace
