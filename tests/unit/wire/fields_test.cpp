// SPDX-License-Identifier: MIT
#include "wire/fields.h"

#include "wire/limits.h"

#include <gtest/gtest.h>

using wire::Field;
using wire::Verb;

namespace {

std::optional<wire::Command> parsed(std::string_view line)
{
    std::string problem;
    auto command = wire::parseCommand(line, problem);
    EXPECT_EQ(command.has_value(), problem.empty()) << line << ": " << problem;
    return command;
}

} // namespace

TEST(Fields, are_split_at_bars)
{
    std::string problem;
    const auto fields = wire::parseFields("VR_CMD=|LOCAL:OBJECT:CREATE| FILENAME=|/tmp/a b: c=d|", problem);
    ASSERT_TRUE(fields) << problem;
    const std::vector<Field> expected = {{"VR_CMD", "LOCAL:OBJECT:CREATE"}, {"FILENAME", "/tmp/a b: c=d"}};
    EXPECT_EQ(*fields, expected);
    EXPECT_EQ(wire::formatFields(*fields), "VR_CMD=|LOCAL:OBJECT:CREATE| FILENAME=|/tmp/a b: c=d|");
}

TEST(Fields, blanks_may_repeat_and_end_the_line)
{
    const auto command = parsed(" VR_PROC=|ProcessFile|   QUEUE=||  ");
    ASSERT_TRUE(command);
    EXPECT_EQ(command->verb, Verb::procedure);
    EXPECT_EQ(command->name, "ProcessFile");
    EXPECT_EQ(command->arguments, (std::vector<Field>{{"QUEUE", ""}}));
}

TEST(Fields, modifiers_are_kept_apart)
{
    const auto command = parsed("VR_CMD=|OBJECT:GET| NAME=|A| VR_CONTAINER=|C| VR_NO_ERROR=|YES| VR_VAR=|V| "
                                "VR_KEEP_VAR=|NO|");
    ASSERT_TRUE(command);
    EXPECT_EQ(command->arguments.size(), 1U);
    EXPECT_EQ(*command->find("NAME"), "A");
    EXPECT_EQ(command->find("VR_CONTAINER"), nullptr);
    EXPECT_EQ(command->container, "C");
    EXPECT_EQ(command->variable, "V");
    EXPECT_TRUE(command->noError);
    EXPECT_FALSE(command->keepVariables);
    EXPECT_FALSE(command->isLocal());
}

TEST(Fields, the_session_close_has_no_name)
{
    const auto command = parsed("VR_CLOSE_SESSION=|YES|");
    ASSERT_TRUE(command);
    EXPECT_EQ(command->verb, Verb::closeSession);
    EXPECT_EQ(command->name, "");
}

class MalformedLine : public testing::TestWithParam<std::string>
{};

TEST_P(MalformedLine, is_refused_with_a_sentence)
{
    std::string problem;
    EXPECT_FALSE(wire::parseCommand(GetParam(), problem));
    EXPECT_NE(problem, "");
}

INSTANTIATE_TEST_SUITE_P(Table, MalformedLine,
                         testing::Values("", "   ", "VR_CMD", "VR_CMD=", "VR_CMD=|", "VR_CMD=|A", "VR_CMD=||",
                                         "VR_PROC=||", "=|A|", "vr_cmd=|A|", "VR CMD=|A|", "NAME=|A|",
                                         "VR_CMD=|A|NAME=|B|", "VR_CMD=|A|\tNAME=|B|",
                                         "VR_CMD=|A| NAME=|a|b|", "VR_CMD=|A| NAME=|a| NAME=|b|",
                                         "VR_CMD=|A| VR_OTHER=|b|", "VR_CMD=|A| VR_NO_ERROR=|1|",
                                         "VR_CMD=|A| VR_VAR=||", "VR_CLOSE_SESSION=|NO|", "VR_CMD=|\xc3|",
                                         std::string("VR_CMD=|A\0B|", 11), "VR_CMD=|A| junk"));

TEST(Fields, a_line_of_one_mebibyte_is_the_longest)
{
    std::string line = "VR_CMD=|A| VALUE=|";
    line.append(wire::maxCommandBytes - line.size() - 1, 'x').append("|");
    EXPECT_TRUE(parsed(line));
    std::string problem;
    EXPECT_FALSE(wire::parseCommand(line + " ", problem));
}

TEST(Fields, two_number_signs_name_a_variable)
{
    EXPECT_EQ(wire::variableOf("##SIZE"), "SIZE");
    EXPECT_EQ(wire::variableOf("##"), "");
    EXPECT_FALSE(wire::variableOf("#SIZE"));
}

TEST(Fields, integers_are_whole_and_in_range)
{
    EXPECT_EQ(wire::parseInteger("0"), 0);
    EXPECT_EQ(wire::parseInteger("-9223372036854775808"), INT64_MIN);
    for (const char *text : {"", "-", "+1", " 1", "1 ", "0x1", "9223372036854775808", "1.0"}) {
        EXPECT_FALSE(wire::parseInteger(text)) << text;
    }
}

TEST(Fields, names_are_short_and_plain)
{
    EXPECT_TRUE(wire::isName("RECEIVED_FILE"));
    EXPECT_TRUE(wire::isName(std::string(128, 'a')));
    for (const std::string &name :
         {std::string(), std::string(129, 'a'), std::string("a|b"), std::string("a\nb")}) {
        EXPECT_FALSE(wire::isName(name)) << name;
    }
}

TEST(Fields, secrets_are_masked)
{
    EXPECT_EQ(wire::maskSecrets("VR_CMD=|MISC:NOP| POD_USER=|u| POD_PASSWORD=|s p| X=|y|"),
              "VR_CMD=|MISC:NOP| POD_USER=|u| POD_PASSWORD=|****| X=|y|");
    EXPECT_EQ(wire::maskSecrets("A_PASSWORD=|1| PASSWORD=|2"), "A_PASSWORD=|****| PASSWORD=|****");
    EXPECT_EQ(wire::maskSecrets("VR_CMD=|OBJECT:GET|"), "VR_CMD=|OBJECT:GET|");
}
