// SPDX-License-Identifier: MIT
#include "wire/byte_io.h"

#include "wire/utf8.h"

#include <gtest/gtest.h>

using namespace std::string_view_literals;

TEST(ByteIo, numbers_are_big_endian)
{
    std::string out;
    wire::appendNumber(out, 0x0102, 2);
    wire::appendNumber(out, 0xfffefdfcfbfaf9f8, 8);
    EXPECT_EQ(out, "\x01\x02\xff\xfe\xfd\xfc\xfb\xfa\xf9\xf8"sv);
    wire::ByteReader reader(out);
    EXPECT_EQ(reader.u16(), 0x0102);
    EXPECT_EQ(reader.u64(), 0xfffefdfcfbfaf9f8);
    EXPECT_TRUE(reader.complete());
}

TEST(ByteIo, a_text_is_its_length_and_its_bytes)
{
    std::string out;
    wire::appendText(out, "ab");
    EXPECT_EQ(out, "\0\0\0\2ab"sv);
}

TEST(ByteIo, after_the_first_missing_value_everything_is_empty)
{
    wire::ByteReader reader("\0\0\0\5abc"sv);
    EXPECT_EQ(reader.text(100), "");
    EXPECT_EQ(reader.u8(), 0);
    EXPECT_FALSE(reader.ok());
    EXPECT_FALSE(reader.complete());
}

TEST(ByteIo, a_text_beyond_its_limit_is_malformed)
{
    wire::ByteReader reader("\0\0\0\3abc"sv);
    EXPECT_EQ(reader.text(2), "");
    EXPECT_FALSE(reader.ok());
}

TEST(ByteIo, bytes_left_over_are_not_complete)
{
    wire::ByteReader reader("\1\2"sv);
    EXPECT_EQ(reader.u8(), 1);
    EXPECT_TRUE(reader.ok());
    EXPECT_FALSE(reader.complete());
}

struct TextCase
{
    std::string_view bytes;
    bool isText;
};

class Utf8 : public testing::TestWithParam<TextCase>
{};

TEST_P(Utf8, is_recognised)
{
    EXPECT_EQ(wire::isText(GetParam().bytes), GetParam().isText);
}

INSTANTIATE_TEST_SUITE_P(
    Table, Utf8,
    testing::Values(TextCase{"", true}, TextCase{"plain\r\n\t", true}, TextCase{"\0"sv, false},
                    TextCase{"\xc3\xa9", true}, TextCase{"\xc3", false}, TextCase{"\xc3(", false},
                    TextCase{"\xc0\xaf", false}, TextCase{"\xc1\xbf", false}, TextCase{"\x80", false},
                    TextCase{"\xe2\x82\xac", true}, TextCase{"\xe0\x9f\xbf", false},
                    TextCase{"\xe0\xa0\x80", true}, TextCase{"\xed\x9f\xbf", true},
                    TextCase{"\xed\xa0\x80", false}, TextCase{"\xf0\x8f\xbf\xbf", false},
                    TextCase{"\xf0\x90\x80\x80", true}, TextCase{"\xf4\x8f\xbf\xbf", true},
                    TextCase{"\xf4\x90\x80\x80", false}, TextCase{"\xf5\x80\x80\x80", false},
                    TextCase{"\xff", false}, TextCase{"a\xf0\x90\x80", false}));
