// SPDX-License-Identifier: MIT
#include "vrp/ui/entry_values.h"

#include "vrp/platform/keyword.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(ColorEntry, is_read_component_by_component)
{
    const struct
    {
        const wchar_t *text;
        int r, g, b;
    } cases[] = {
        {L"255,255,255", 255, 255, 255},
        {L"1,2,3", 1, 2, 3},
        {L"10, 20, 30", 10, 20, 30},
        {L"  7 , 8 ,9 ", 7, 8, 9},
        {L"300,-4,12", 255, 0, 12},
        {L"99999999999999999999,-99999999999999999999,2147483648", 255, 0, 255},
        {L"red,green,blue", 0, 0, 0},
        {L"12px,0x20,+5", 12, 0, 5},
        {L",,", 0, 0, 0},
        {L"1,2,3,4", 1, 2, 3},
        {L"1.9,2;7,3 4", 1, 2, 3},
        {L"\u0661,\uff12,é", 0, 0, 0},
        {L"#ffffff,1,2", 0, 1, 2},
    };

    for (const auto &c : cases) {
        int r = 77;
        int g = 77;
        int b = 77;
        parseColor(c.text, r, g, b);
        EXPECT_EQ(r, c.r) << c.text;
        EXPECT_EQ(g, c.g) << c.text;
        EXPECT_EQ(b, c.b) << c.text;
    }
}

TEST(ColorEntry, keeps_a_component_whose_comma_is_missing)
{
    int r = 71;
    int g = 72;
    int b = 73;
    parseColor(L"", r, g, b);
    EXPECT_EQ((std::vector{r, g, b}), (std::vector{71, 72, 0}));
    parseColor(L"5", r, g, b);
    EXPECT_EQ((std::vector{r, g, b}), (std::vector{71, 72, 5}));
    parseColor(L"6,7", r, g, b);
    EXPECT_EQ((std::vector{r, g, b}), (std::vector{6, 72, 7}));
}

TEST(PositionEntry, is_read_with_negative_numbers_as_zero)
{
    const struct
    {
        const wchar_t *text;
        int x, y;
    } cases[] = {
        {L"50,50", 50, 50},
        {L"20, 20", 20, 20},
        {L" 5 , 6 ", 5, 6},
        {L"-5,-6", 0, 0},
        {L"99999999999,-99999999999", 2147483647, 0},
        {L"left,top", 0, 0},
        {L",", 0, 0},
        {L"1,2,3", 1, 2},
        {L"٣,４", 0, 0},
        {L"7;8,9", 7, 9},
    };

    for (const auto &c : cases) {
        int x = 77;
        int y = 77;
        parsePosition(c.text, x, y);
        EXPECT_EQ(x, c.x) << c.text;
        EXPECT_EQ(y, c.y) << c.text;
    }
}

TEST(PositionEntry, keeps_x_when_the_comma_is_missing)
{
    int x = 71;
    int y = 72;
    parsePosition(L"", x, y);
    EXPECT_EQ((std::vector{x, y}), (std::vector{71, 0}));
    parsePosition(L"9", x, y);
    EXPECT_EQ((std::vector{x, y}), (std::vector{71, 9}));
}

TEST(YesEntry, is_yes_in_any_letter_case_and_nothing_else)
{
    for (const wchar_t *yes : {L"Yes", L"YES", L"yes", L"  yEs\t", L"y es"}) {
        EXPECT_TRUE(isYes(yes)) << yes;
    }
    for (const wchar_t *no : {L"", L"No", L"Y", L"yes!", L"true", L"1", L"ÝES", L"yeſ"}) {
        EXPECT_FALSE(isYes(no)) << no;
    }
}

TEST(FontFamilyEntry, stands_as_it_is_when_it_is_plain)
{
    for (const wchar_t *family :
         {L"Arial", L"Liberation Sans", L"Noto Sans CJK-JP2", L"Arial, Helvetica, sans-serif"}) {
        EXPECT_EQ(styleSheetFontFamily(family), family);
    }
    EXPECT_EQ(styleSheetFontFamily(L""), L"Arial");
}

TEST(FontFamilyEntry, cannot_end_the_declaration_that_it_stands_in)
{
    EXPECT_EQ(styleSheetFontFamily(L"Arial; color: red"), L"\"Arial; color: red\"");
    EXPECT_EQ(styleSheetFontFamily(L"A\"; } * { image: url(/x) \\22"), L"\"A; } * { image: url(/x) 22\"");
    EXPECT_EQ(styleSheetFontFamily(L"A\nB\x7f"), L"\"AB\"");
    EXPECT_EQ(styleSheetFontFamily(L"3270 Condensed"), L"\"3270 Condensed\"");
    EXPECT_EQ(styleSheetFontFamily(L"源ノ角ゴシック"), L"\"源ノ角ゴシック\"");
    EXPECT_EQ(styleSheetFontFamily(L"Arial,"), L"\"Arial,\"");
    EXPECT_EQ(styleSheetFontFamily(L"Arial,,Helvetica"), L"\"Arial,,Helvetica\"");
}

TEST(FontFamilyEntry, is_bounded)
{
    EXPECT_EQ(styleSheetFontFamily(std::wstring(100000, L'A')).size(), 500U);
}

} // namespace
