// SPDX-License-Identifier: MIT
#include "wire/objects.h"

#include "wire/limits.h"

#include <gtest/gtest.h>

using namespace std::string_literals;
using wire::ObjectType;
using wire::Value;

struct ValueCase
{
    Value value;
    std::string bytes;
};

class ObjectValue : public testing::TestWithParam<ValueCase>
{};

TEST_P(ObjectValue, has_the_documented_bytes_and_comes_back)
{
    const auto &[value, bytes] = GetParam();
    EXPECT_EQ(wire::encodeValue(value), bytes);
    EXPECT_EQ(wire::decodeValue(wire::typeOf(value), bytes), value);
    EXPECT_TRUE(wire::isWithinLimits(value));
}

INSTANTIATE_TEST_SUITE_P(Table, ObjectValue,
                         testing::Values(ValueCase{"caf\xc3\xa9"s, "caf\xc3\xa9"s}, ValueCase{""s, ""s},
                                         ValueCase{std::int64_t{-12}, "-12"s},
                                         ValueCase{wire::StringList{"a", ""}, "\0\0\0\1a\0\0\0\0"s},
                                         ValueCase{wire::StringList{}, ""s},
                                         ValueCase{wire::IndStringList{{"k", "vv"}}, "\0\0\0\1k\0\0\0\2vv"s},
                                         ValueCase{wire::Table{2, {"a", "b", "c", "d"}},
                                                   "\0\0\0\2\0\0\0\1a\0\0\0\1b\0\0\0\1c\0\0\0\1d"s},
                                         ValueCase{wire::Table{}, "\0\0\0\0"s}));

struct BadBytesCase
{
    ObjectType type;
    std::string bytes;
};

class ObjectBytes : public testing::TestWithParam<BadBytesCase>
{};

TEST_P(ObjectBytes, that_make_no_sense_are_refused)
{
    EXPECT_FALSE(wire::decodeValue(GetParam().type, GetParam().bytes));
}

INSTANTIATE_TEST_SUITE_P(Table, ObjectBytes,
                         testing::Values(BadBytesCase{ObjectType::string, "\xff"},
                                         BadBytesCase{ObjectType::integer, ""},
                                         BadBytesCase{ObjectType::integer, "1x"},
                                         BadBytesCase{ObjectType::integer, "99999999999999999999"},
                                         BadBytesCase{ObjectType::stringList, "\0\0\0\5a"s},
                                         BadBytesCase{ObjectType::stringList, "\xff\xff\xff\xff"},
                                         BadBytesCase{ObjectType::stringList, std::string(4 * 10001, '\0')},
                                         BadBytesCase{ObjectType::indStringList, "\0\0\0\1k"s},
                                         BadBytesCase{ObjectType::table, ""},
                                         BadBytesCase{ObjectType::table, "\0\0\0\2\0\0\0\1a"s},
                                         BadBytesCase{ObjectType::table, "\0\0\0\0\0\0\0\1a"s},
                                         BadBytesCase{ObjectType::table, "\0\0\0\x41"s},
                                         BadBytesCase{ObjectType::file, ""}));

TEST(Objects, lists_hold_ten_thousand_entries)
{
    EXPECT_TRUE(wire::isWithinLimits(wire::StringList(10000)));
    EXPECT_FALSE(wire::isWithinLimits(wire::StringList(10001)));
    EXPECT_TRUE(wire::decodeValue(ObjectType::stringList, std::string(4 * 10000, '\0')));
    EXPECT_FALSE(wire::isWithinLimits(wire::IndStringList(10001)));
    EXPECT_FALSE(wire::isWithinLimits(wire::Table{1, wire::StringList(10001)}));
}

TEST(Objects, texts_and_whole_lists_are_bounded)
{
    EXPECT_TRUE(wire::isWithinLimits(std::string(wire::maxTextBytes, 'x')));
    EXPECT_FALSE(wire::isWithinLimits(std::string(wire::maxTextBytes + 1, 'x')));
    EXPECT_FALSE(wire::isWithinLimits(wire::StringList(17, std::string(wire::maxTextBytes, 'x'))));
}

TEST(Objects, a_row_is_its_cells_joined_by_semicolons)
{
    const wire::Table table{3, {"a", "b", "c", "d", "", "f"}};
    EXPECT_EQ(wire::rowText(table, 1), "a;b;c");
    EXPECT_EQ(wire::rowText(table, 2), "d;;f");
    for (const std::int64_t row :
         {std::int64_t{0}, std::int64_t{-1}, std::int64_t{3}, INT64_MIN, INT64_MAX}) {
        EXPECT_FALSE(wire::rowText(table, row)) << row;
    }
}

TEST(Objects, types_have_names_and_numbers)
{
    for (std::uint8_t number = 1; number <= 6; ++number) {
        const auto type = wire::typeFromNumber(number);
        ASSERT_TRUE(type);
        EXPECT_EQ(wire::typeFromName(wire::typeName(*type)), type);
    }
    EXPECT_EQ(wire::typeFromName("INDSTRINGLIST"), ObjectType::indStringList);
    EXPECT_FALSE(wire::typeFromName("string"));
    EXPECT_FALSE(wire::typeFromNumber(0));
    EXPECT_FALSE(wire::typeFromNumber(7));
}

TEST(Objects, every_text_of_a_value_is_bounded)
{
    const std::string longest(wire::maxTextBytes, 'x');
    const std::string tooLong = longest + "x";
    EXPECT_TRUE(wire::isWithinLimits(wire::StringList{longest}));
    EXPECT_FALSE(wire::isWithinLimits(wire::StringList{"a", tooLong}));
    EXPECT_TRUE(wire::isWithinLimits(wire::IndStringList{{longest, longest}}));
    EXPECT_FALSE(wire::isWithinLimits(wire::IndStringList{{tooLong, "v"}}));
    EXPECT_FALSE(wire::isWithinLimits(wire::IndStringList{{"k", tooLong}}));
    EXPECT_FALSE(wire::isWithinLimits(wire::IndStringList(9, {longest, longest})));
    EXPECT_FALSE(wire::isWithinLimits(wire::Table{1, {tooLong}}));
    EXPECT_FALSE(wire::isWithinLimits(wire::Table{17, wire::StringList(17, longest)}));
    EXPECT_FALSE(wire::isWithinLimits(wire::Table{65, wire::StringList(65)}));
    EXPECT_TRUE(wire::isWithinLimits(std::int64_t{INT64_MIN}));
}

TEST(Objects, bytes_beyond_the_limits_are_no_value)
{
    EXPECT_TRUE(wire::decodeValue(ObjectType::string, std::string(wire::maxTextBytes, 'x')));
    EXPECT_FALSE(wire::decodeValue(ObjectType::string, std::string(wire::maxTextBytes + 1, 'x')));
    EXPECT_FALSE(wire::decodeValue(ObjectType::stringList, std::string(wire::maxValueBytes + 4, '\0')));
    EXPECT_FALSE(wire::decodeValue(ObjectType::stringList, std::string(4 * 10001, '\0')));
    EXPECT_TRUE(wire::decodeValue(ObjectType::indStringList, std::string(8 * 10000, '\0')));
    EXPECT_FALSE(wire::decodeValue(ObjectType::indStringList, std::string(8 * 10001, '\0')));
    EXPECT_TRUE(wire::decodeValue(ObjectType::table, "\0\0\0\1"s + std::string(4 * 10000, '\0')));
    EXPECT_FALSE(wire::decodeValue(ObjectType::table, "\0\0\0\1"s + std::string(4 * 10001, '\0')));
    EXPECT_FALSE(wire::decodeValue(ObjectType::stringList, "\0\0\0\2\xff\xff"s)) << "no UTF-8";
}

TEST(Objects, a_new_object_of_every_type_is_empty)
{
    EXPECT_EQ(wire::emptyValue(ObjectType::string), Value(std::string()));
    EXPECT_EQ(wire::emptyValue(ObjectType::integer), Value(std::int64_t{0}));
    EXPECT_EQ(wire::emptyValue(ObjectType::stringList), Value(wire::StringList{}));
    EXPECT_EQ(wire::emptyValue(ObjectType::indStringList), Value(wire::IndStringList{}));
    EXPECT_EQ(wire::emptyValue(ObjectType::table), Value(wire::Table{}));
}
