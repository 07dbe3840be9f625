// SPDX-License-Identifier: MIT
#include "backend/user_notice.h"

#include "tests/support/ScopedVariable.h"
#include "tests/unit/backend/files_on_disk.h"

#include <gmock/gmock.h>

namespace {

/// A desktop without a notification service; `install` gives it one that writes its arguments down.
class UserNotice : public testing::Test
{
protected:
    void install() const
    {
        writeFile(m_folder.file("notify-send"), "#!/bin/sh\nprintf '[%s]' \"$@\" >\"${0%/*}/shown\"\n", 0755);
    }

    /// Tells the user and gives what standard error has got.
    static std::string said(const std::string &text)
    {
        testing::internal::CaptureStderr();
        backend::tellUser(text);
        return testing::internal::GetCapturedStderr();
    }

    TemporaryFolder m_folder;
    ScopedVariable m_path{"PATH", m_folder.path()};
};

TEST_F(UserNotice, is_shown_as_a_notification_and_said_on_standard_error)
{
    install();
    EXPECT_EQ(said("'Report' was not sent"), "varek-agent: 'Report' was not sent\n");
    EXPECT_EQ(contents(m_folder.file("shown")),
              "[--app-name=Varek Print][--icon=varek-print][--][Varek Print]"
              "['Report' was not sent]");
}

TEST_F(UserNotice, shows_markup_of_a_title_as_it_stands)
{
    install();
    EXPECT_EQ(said("<b>A & B</b>"), "varek-agent: <b>A & B</b>\n");
    EXPECT_THAT(contents(m_folder.file("shown")), testing::EndsWith("[&lt;b&gt;A &amp; B&lt;/b&gt;]"));
}

TEST_F(UserNotice, without_a_notification_service_is_said_on_standard_error_alone)
{
    EXPECT_EQ(said("text"), "varek-agent: text\n");
}

} // namespace
