// SPDX-License-Identifier: MIT
#include "vrc/frames_type.h"

#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cctype>
#include <clocale>
#include <cstdlib>

TEST(FramesType, is_known_with_parameters_and_in_any_letter_case)
{
    for (const char *type : {"application/vnd.varek.frames", "Application/VND.Varek.Frames",
                             "application/vnd.varek.frames;v=1", "application/vnd.varek.frames ; v=1"}) {
        EXPECT_TRUE(vrc::isFramesType(type)) << type;
    }
    for (const char *type :
         {"", "text/html", "application/vnd.varek.frame", "application/vnd.varek.framesets"}) {
        EXPECT_FALSE(vrc::isFramesType(type)) << type;
    }
    EXPECT_FALSE(vrc::isFramesType(nullptr));
}

TEST(FramesType, does_not_follow_a_turkish_locale)
{
    const TemporaryFolder folder;
    const std::string build = "localedef -i tr_TR -f ISO-8859-9 '" + folder.file("tr_TR.ISO-8859-9") + "'";
    ASSERT_EQ(std::system(build.c_str()), 0) << "needs the Debian package locales";
    ASSERT_EQ(::setenv("LOCPATH", folder.path().c_str(), 1), 0);
    ASSERT_NE(std::setlocale(LC_ALL, "tr_TR.ISO-8859-9"), nullptr);
    ASSERT_NE(std::tolower('I'), 'i'); // so the locale is in force
    EXPECT_TRUE(vrc::isFramesType("APPLICATION/VND.VAREK.FRAMES"));
    std::setlocale(LC_ALL, "C");
    ::unsetenv("LOCPATH");
}
