// SPDX-License-Identifier: MIT
#include "vrp/platform/text.h"

#include "tests/support/TurkishLocale.h"

#include <gtest/gtest.h>

#include <climits>

namespace {

std::wstring cleaned(std::wstring text, bool removeAllBlanks = false)
{
    VrpsCleanString(text, removeAllBlanks);
    return text;
}

std::wstring lower(std::wstring text)
{
    VrpsMakeLower(text);
    return text;
}

std::wstring upper(std::wstring text)
{
    VrpsMakeUpper(text);
    return text;
}

} // namespace

TEST(clean_string, reduces_blanks)
{
    struct Case
    {
        std::wstring text, spaced, joined;
    };

    const Case cases[] = {
        {L"", L"", L""},
        {L"abc", L"abc", L"abc"},
        {L" ", L"", L""},
        {L"\t", L"", L""},
        {L"\n", L"", L""},
        {L"     ", L"", L""},
        {L" a\tb  c ", L"a b c", L"abc"},
        {L"  a   b  ", L"a b", L"ab"},
        {L"a\nb", L"ab", L"ab"},
        {L"a \n b", L"a b", L"ab"},
        {L"\t \t a \t\t", L"a", L"a"},
        {L"\r\n a\r\nb \r\n", L"ab", L"ab"},
        {L"a\vb\fc d", L"a\vb\fc d", L"a\vb\fcd"},
    };
    for (const Case &c : cases) {
        EXPECT_EQ(cleaned(c.text), c.spaced);
        EXPECT_EQ(cleaned(c.text, true), c.joined);
    }
}

TEST(clean_string, a_carriage_return_goes_only_where_a_tab_or_line_feed_stands)
{
    EXPECT_EQ(cleaned(L"a\rb"), L"a\rb");
    EXPECT_EQ(cleaned(L"a\rb", true), L"a\rb");
    EXPECT_EQ(cleaned(L" a\rb \r"), L"a\rb \r");
    EXPECT_EQ(cleaned(L" a\rb \r", true), L"a\rb\r");
    EXPECT_EQ(cleaned(L"a\rb\tc"), L"ab c");
    EXPECT_EQ(cleaned(L"a\rb\nc"), L"abc");
}

TEST(letter_case, maps_ascii_letters)
{
    EXPECT_EQ(lower(L"YeS-09_[Z"), L"yes-09_[z");
    EXPECT_EQ(upper(L"yEs-09_{z"), L"YES-09_{Z");
    EXPECT_EQ(upper(L"iI"), L"II");
    EXPECT_EQ(lower(L"iI"), L"ii");
    EXPECT_EQ(lower(L""), L"");
}

TEST(letter_case, characters_above_127_are_narrowed_to_a_signed_byte)
{
    for (auto map : {lower, upper}) {
        EXPECT_EQ(map(std::wstring(1, L'\u00e9')), std::wstring(1, static_cast<wchar_t>(-23)));
        EXPECT_EQ(map(std::wstring(1, L'\u0100')), std::wstring(1, L'\0'));
        EXPECT_EQ(map(std::wstring(1, L'\u0141')), L"A");
        EXPECT_EQ(map(std::wstring(1, L'\u0161')), L"a");
    }
}

TEST(letter_case, does_not_follow_a_turkish_locale)
{
    const TurkishLocale locale("ISO-8859-9");
    ASSERT_TRUE(locale.isInForce()) << "needs the package locales";
    EXPECT_EQ(upper(L"iI"), L"II");
    EXPECT_EQ(lower(L"iI"), L"ii");
    EXPECT_EQ(decimalPrefix(L"\u00a012"), 0);
}

TEST(conversion, wide_text_and_utf8_are_equivalent)
{
    const struct
    {
        std::wstring wide;
        std::string utf8;
    } cases[] = {
        {L"", ""},
        {L"plain", "plain"},
        {L"\u00e9\u20ac", "\xC3\xA9\xE2\x82\xAC"},
        {L"\U0001F5A8 x", "\xF0\x9F\x96\xA8 x"},
        {std::wstring(L"a\0b", 3), std::string("a\0b", 3)},
    };

    for (const auto &c : cases) {
        EXPECT_EQ(wtoUTF8(c.wide), c.utf8);
        EXPECT_EQ(UTF8tow(c.utf8), c.wide);
        EXPECT_EQ(QString2StdWString(QString::fromStdWString(c.wide)), c.wide);
    }
}

TEST(conversion, a_character_of_two_code_units_becomes_one_wide_character)
{
    EXPECT_EQ(QString2StdWString(QString::fromUtf8("\xF0\x9F\x96\xA8")).size(), 1U);
}

TEST(conversion, invalid_utf8_becomes_replacement_characters)
{
    EXPECT_EQ(UTF8tow("a\xFFz"), L"a\uFFFDz");
    EXPECT_EQ(UTF8tow("\xC3"), L"\uFFFD");
}

TEST(conversion, narrowed_characters_become_valid_utf8)
{
    const std::string utf8 = wtoUTF8(std::wstring(1, static_cast<wchar_t>(-23)));
    EXPECT_EQ(utf8, wtoUTF8(UTF8tow(utf8)));
}

TEST(decimal_prefix, reads_as_strtol_does)
{
    const struct
    {
        std::wstring text;
        int value;
    } cases[] = {
        {L"", 0},
        {L"x", 0},
        {L"-", 0},
        {L"+", 0},
        {L"+-1", 0},
        {L"- 1", 0},
        {L"0", 0},
        {L"8080", 8080},
        {L"  \t\n\v\f\r-12,5", -12},
        {L"+7x", 7},
        {L"007", 7},
        {L"0x10", 0},
        {L"2147483647", INT_MAX},
        {L"2147483648", INT_MAX},
        {L"-2147483648", INT_MIN},
        {L"-2147483649", INT_MIN},
        {L"99999999999999999999999999999999", INT_MAX},
        {L"-99999999999999999999999999999999", INT_MIN},
        {L"\u06611", 0},
    };

    for (const auto &c : cases) {
        EXPECT_EQ(decimalPrefix(c.text), c.value) << wtoUTF8(c.text);
    }
}

TEST(copy_bounded, cuts_and_terminates)
{
    wchar_t field[4];
    for (wchar_t &c : field) {
        c = L'#';
    }
    copyBounded(field, L"ab");
    EXPECT_EQ(std::wstring(field), L"ab");
    copyBounded(field, L"abc");
    EXPECT_EQ(std::wstring(field), L"abc");
    copyBounded(field, L"abcd");
    EXPECT_EQ(std::wstring(field), L"abc");
    copyBounded(field, L"");
    EXPECT_EQ(std::wstring(field), L"");
}
