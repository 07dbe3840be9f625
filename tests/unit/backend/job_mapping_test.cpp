// SPDX-License-Identifier: MIT
#include "backend/job_mapping.h"

#include "backend/backend_failure.h"
#include "tests/unit/backend/files_on_disk.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <sstream>

using backend::parseMapping;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

TEST(ParseMapping, names_the_lines_that_it_cannot_understand)
{
    std::vector<std::string> problems;
    const auto rules =
        parseMapping("map a@b c\nmap a b\nmap @b c\nmap a@ c\nmap a@b\nmap a@b c d\nmop a@b c\n", problems);
    EXPECT_EQ(rules.size(), 1U);
    EXPECT_EQ(problems.size(), 6U);
    EXPECT_EQ(problems.front(), "line 2 is not of the form 'map USER@HOST ACCOUNT'");
}

class ReadMapping : public testing::Test
{
protected:
    std::vector<backend::MappingRule> read() { return backend::readMapping(file, messages); }

    TemporaryFolder scratch;
    std::filesystem::path file = scratch.path() / "backend.conf";
    std::ostringstream messages;
};

TEST_F(ReadMapping, gives_no_rules_without_a_file_and_says_nothing)
{
    EXPECT_THAT(read(), IsEmpty());
    EXPECT_EQ(messages.str(), "");
}

TEST_F(ReadMapping, gives_the_rules_that_it_understands_and_names_the_other_lines)
{
    writeFile(file, "# rules\nmap a@b c\nmop\n", 0644);
    EXPECT_EQ(read().size(), 1U);
    EXPECT_EQ(messages.str(),
              "WARNING: " + file.string() + ": line 3 is not of the form 'map USER@HOST ACCOUNT'\n");
}

TEST_F(ReadMapping, ignores_a_file_that_others_can_write)
{
    writeFile(file, "map *@* alice\n", 0666);
    EXPECT_THAT(read(), IsEmpty());
    EXPECT_THAT(messages.str(), HasSubstr("is ignored: it must be a file"));
}

TEST_F(ReadMapping, ignores_a_file_of_somebody_else)
{
    writeFile(file, "map *@* alice\n", 0644);
    ASSERT_EQ(::chown(file.c_str(), 54321, 54321), 0) << "these tests run as root";
    EXPECT_THAT(read(), IsEmpty());
    EXPECT_THAT(messages.str(), HasSubstr("is ignored: it must be a file"));
}

TEST_F(ReadMapping, reads_a_file_of_the_largest_size_and_refuses_a_longer_one)
{
    const std::string rule = "map guest@localhost alice\n";
    const std::string padding(backend::maxMappingBytes - rule.size(), '#');
    writeFile(file, rule + padding, 0644);
    EXPECT_EQ(read().size(), 1U);
    writeFile(file, rule + padding + "#", 0644);
    EXPECT_THROW((void)read(), backend::BackendFailure);
}

} // namespace
