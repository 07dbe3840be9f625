// SPDX-License-Identifier: MIT
#include "wire/error_info.h"

#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <set>
#include <string>

namespace {

using Triple = std::string;

Triple tripleOf(std::string_view service, std::string_view errorClass, std::uint32_t code)
{
    return std::string(service) + "/" + std::string(errorClass) + "/" + std::to_string(code);
}

/// The rows of the two tables below the heading "Errors".
std::set<Triple> documentedErrors()
{
    std::ifstream page(VAREK_SOURCE_DIR "/docs/protocol.md");
    const std::regex local(R"(\| (\d+) \| .+ \|)");
    const std::regex remote(R"(\| ([A-Z]+) \| ([A-Z]+) \| (\d+) \| .+ \|)");
    std::set<Triple> triples;
    bool isBelow = false;
    std::smatch match;
    for (std::string line; std::getline(page, line);) {
        if (line.starts_with("## ")) {
            isBelow = line == "## Errors";
        }
        if (isBelow && std::regex_match(line, match, local)) {
            triples.insert("LOCAL/REQUEST/" + match.str(1));
        } else if (isBelow && std::regex_match(line, match, remote)) {
            triples.insert(match.str(1) + "/" + match.str(2) + "/" + match.str(3));
        }
    }
    return triples;
}

} // namespace

TEST(ErrorInfo, the_page_and_the_code_know_the_same_errors)
{
    std::set<Triple> known;
    for (const wire::ErrorKind &kind : wire::allErrorKinds()) {
        EXPECT_TRUE(known.insert(tripleOf(kind.service, kind.errorClass, kind.code)).second) << kind.meaning;
    }
    EXPECT_EQ(known, documentedErrors());
}

TEST(ErrorInfo, the_meaning_stands_in_for_a_missing_description)
{
    EXPECT_EQ(wire::makeError(wire::errors::unknownUser).description, "unknown user");
    const wire::ErrorInfo error = wire::makeError(wire::errors::unknownUser, "who?", "details");
    EXPECT_EQ(error.description, "who?");
    EXPECT_EQ(error.info, "details");
    EXPECT_TRUE(wire::isError(error, wire::errors::unknownUser));
    EXPECT_FALSE(wire::isError(error, wire::errors::wrongPassword));
}
