// SPDX-License-Identifier: MIT
#include "tests/support/TemporaryFolder.h"
#include "vrc/SocketLog.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>

namespace {

class SocketLogs : public testing::Test
{
protected:
    TemporaryFolder m_folder;
};

} // namespace

TEST_F(SocketLogs, a_log_is_private_escaped_and_appended_to)
{
    const std::string path = m_folder.file("socket.log");
    for (int run = 0; run < 2; ++run) {
        vrc::SocketLog log(path);
        log.request("a\nline \x7F of text");
        log.answer("Z", {});
    }
    const std::string text = m_folder.read("socket.log");
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 4);
    EXPECT_NE(text.find(" 1 request a\\x0Aline \\x7F of text\n"), std::string::npos) << text;
    struct stat status = {};
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

TEST_F(SocketLogs, a_log_holds_no_password)
{
    vrc::SocketLog(m_folder.file("socket.log"))
        .request("VR_CMD=|MISC:NOP| POD_USER=|u| POD_PASSWORD=|secret|");
    EXPECT_NE(m_folder.read("socket.log").find("POD_USER=|u| POD_PASSWORD=|****|"), std::string::npos);
}

TEST_F(SocketLogs, a_log_that_cannot_be_opened_or_is_a_link_is_left_out)
{
    std::filesystem::create_symlink(m_folder.write("target", ""), m_folder.file("link"));
    for (const std::string &path : {m_folder.file("missing/log"), m_folder.file("link"), std::string()}) {
        vrc::SocketLog log(path);
        log.request("text");
        log.answer("Z", {});
    }
    EXPECT_EQ(m_folder.read("target"), "");
}

TEST(LoggedCommand, is_cut_short_and_holds_no_password)
{
    EXPECT_EQ(vrc::loggedCommand("VR_CMD=|MISC:NOP| POD_USER=|u| POD_PASSWORD=|secret|").find("secret"),
              std::string::npos);
    const std::string logged = vrc::loggedCommand("VR_CMD=|" + std::string(2000, 'x') + "|");
    EXPECT_EQ(logged.size(), 1027U);
    EXPECT_TRUE(logged.ends_with("x..."));
}
