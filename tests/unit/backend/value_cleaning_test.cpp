// SPDX-License-Identifier: MIT
#include "backend/value_cleaning.h"

#include <gmock/gmock.h>

using backend::cleanValue;

namespace {

struct Case
{
    const char *behaviour;
    std::string value;
    std::string clean;
};

const Case cases[] = {
    {"an ordinary title stays as it is", "Report 2026 (final).pdf", "Report 2026 (final).pdf"},
    {"nothing stays nothing", "", ""},
    {"a title cannot open an option behind a closed quote", "a\" -l FILE \"b", "a' -l FILE 'b"},
    {"an inch sign becomes an apostrophe", "5\" x", "5' x"},
    {"a word that begins with a dash gets a blank before it", "-k", " -k"},
    {"a dash that comes first once control characters are gone is seen", "\x01|\n-l", " -l"},
    {"a lone dash gets a blank before it", "-", " -"},
    {"a dash further on stays", "a -k", "a -k"},
    {"what would be the name of a variable gets a blank before it", "##x", " ##x"},
    {"two number signs that a bar kept apart are seen", "#|#x", " ##x"},
    {"one number sign stays", "#1", "#1"},
    {"bars go", "a|b||c", "abc"},
    {"line ends and tabs go", "a\nb\r\nc\td", "abcd"},
    {"the delete character goes",
     "a\x7F"
     "b",
     "ab"},
    {"control characters beyond ASCII go",
     "a\xC2\x85"
     "b\xC2\x9B"
     "c",
     "abc"},
    {"line and paragraph separators go",
     "a\xE2\x80\xA8"
     "b\xE2\x80\xA9"
     "c",
     "abc"},
    {"marks that turn the writing direction go",
     "a\xE2\x80\xAE"
     "fdp.exe\xE2\x81\xA6",
     "afdp.exe"},
    {"the byte-order mark goes",
     "\xEF\xBB\xBF"
     "a",
     "a"},
    {"shell syntax is text", "$(x) `y` %n %s ; & > *", "$(x) `y` %n %s ; & > *"},
    {"letters of every script stay", "Übergrößenträger \xF0\x9F\x96\xA8 印刷",
     "Übergrößenträger \xF0\x9F\x96\xA8 印刷"},
    {"a byte that is no UTF-8 is replaced",
     "a\xFF"
     "b",
     "a\xEF\xBF\xBD"
     "b"},
    {"a character that is cut off is replaced byte by byte", "a\xE2\x82", "a\xEF\xBF\xBD\xEF\xBF\xBD"},
    {"an overlong quote is no quote", "\xC0\xA2", "\xEF\xBF\xBD\xEF\xBF\xBD"},
    {"a surrogate is replaced", "\xED\xA0\x80", "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"},
};

TEST(CleanValue, makes_each_hostile_value_one_harmless_argument)
{
    for (const Case &c : cases) {
        EXPECT_EQ(cleanValue(c.value), c.clean) << c.behaviour;
    }
}

TEST(CleanValue, changes_nothing_the_second_time)
{
    for (const Case &c : cases) {
        EXPECT_EQ(cleanValue(c.clean), c.clean) << c.behaviour;
    }
}

TEST(CleanValue, cuts_a_long_value_between_two_characters)
{
    std::string value = "a";
    for (int i = 0; i < 65536; ++i) {
        value += "\xE2\x82\xAC";
    }
    const std::string clean = cleanValue(value);
    EXPECT_EQ(clean.size(), 1 + 3 * ((backend::maxValueBytes - 1) / 3));
    EXPECT_EQ(clean, value.substr(0, clean.size()));
}

TEST(CleanValue, holds_the_limit_with_the_blank_before_a_dash)
{
    const std::string clean = cleanValue(std::string(65536, '-'));
    EXPECT_EQ(clean, " " + std::string(backend::maxValueBytes - 1, '-'));
    EXPECT_EQ(cleanValue(clean), clean);
}

TEST(CleanValue, lets_no_byte_sequence_through_that_the_program_would_read_as_syntax)
{
    // Every pair of bytes, as a whole value.
    for (int first = 0; first < 256; ++first) {
        for (int second = 0; second < 256; ++second) {
            const std::string clean =
                cleanValue(std::string{static_cast<char>(first), static_cast<char>(second)});
            ASSERT_EQ(clean.find_first_of("\"|\n\r\t\x01\x7F"), std::string::npos) << first << " " << second;
            ASSERT_FALSE(clean.starts_with("-") || clean.starts_with("##")) << first << " " << second;
            ASSERT_EQ(cleanValue(clean), clean) << first << " " << second;
        }
    }
}

} // namespace
