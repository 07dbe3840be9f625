// SPDX-License-Identifier: MIT
#include "vrc/frames_type.h"

#include "tests/support/TemporaryFolder.h"
#include "tests/support/TurkishLocale.h"

#include <gtest/gtest.h>

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
    const TurkishLocale locale("ISO-8859-9");
    ASSERT_TRUE(locale.isInForce()) << "needs the package locales";
    EXPECT_TRUE(vrc::isFramesType("APPLICATION/VND.VAREK.FRAMES"));
}
