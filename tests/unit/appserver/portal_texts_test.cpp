// SPDX-License-Identifier: MIT
#include "appserver/finishing.h"
#include "appserver/html_text.h"
#include "appserver/portal_pages.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace appserver {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::Pair;

namespace {

const FormFields filled{{"copies", "2"},         {"paper", "A4"},    {"colour", "colour"},
                        {"duplex", "long-edge"}, {"staple", "none"}, {"note", "a\r\nb"}};

std::string problemWith(const std::string &field, const std::string &value,
                        const PortalSettings &settings = {})
{
    FormFields fields = filled;
    fields.insert_or_assign(field, value);
    const auto choices = choicesFrom(fields, settings);
    const auto *problem = std::get_if<std::string>(&choices);
    return problem != nullptr ? *problem : std::string();
}

} // namespace

TEST(Html, everything_that_means_something_is_escaped)
{
    EXPECT_EQ(escapedHtml("<a href=\"x\">&'</a>"), "&lt;a href=&quot;x&quot;&gt;&amp;&#39;&lt;/a&gt;");
}

TEST(Forms, are_decoded_and_the_first_of_two_equal_fields_holds)
{
    EXPECT_THAT(*parseForm("a=1+2&b=%C3%A9%26&c&a=3&=x"),
                ElementsAre(Pair("", "x"), Pair("a", "1 2"), Pair("b", "\xC3\xA9&"), Pair("c", "")));
    for (const char *bad : {"a=%", "a=%4", "a=%zz", "a=%-1", "%=1"}) {
        EXPECT_FALSE(parseForm(bad)) << bad;
    }
    std::string many;
    for (int i = 0; i < 65; ++i) {
        many += std::to_string(i) + "=&";
    }
    EXPECT_FALSE(parseForm(many));
}

TEST(Choices, only_what_is_offered_gets_through)
{
    const auto good = choicesFrom(filled, {});
    ASSERT_TRUE(std::holds_alternative<PrintChoices>(good));
    EXPECT_EQ(std::get<PrintChoices>(good).note, "a\nb");
    for (const char *copies : {"", "0", "-1", "100", "2x", "99999999999999999999", "1.5"}) {
        EXPECT_THAT(problemWith("copies", copies), HasSubstr("1 to 99")) << copies;
    }
    EXPECT_THAT(problemWith("paper", "Poster"), HasSubstr("Paper"));
    EXPECT_NE(problemWith("colour", "red"), "");
    EXPECT_NE(problemWith("duplex", ""), "");
    EXPECT_NE(problemWith("staple", "all over"), "");
    EXPECT_NE(problemWith("note", std::string(501, 'x')), "");
    EXPECT_EQ(problemWith("note", std::string(500, 'x')), "");
    EXPECT_NE(problemWith("note", "\x01"), "");
    EXPECT_NE(problemWith("note", "\xFF"), "");
}

TEST(Choices, what_the_printers_cannot_do_is_not_taken_from_the_form)
{
    PortalSettings settings;
    settings.colour = settings.duplex = settings.staple = false;
    FormFields fields = filled;
    fields["staple"] = "corner";
    const auto choices = std::get<PrintChoices>(choicesFrom(fields, settings));
    EXPECT_EQ(choices.colour, "grey");
    EXPECT_EQ(choices.duplex, "one-sided");
    EXPECT_EQ(choices.staple, "none");
}

TEST(Pages, hold_no_scripts_and_escape_every_field)
{
    const std::string evil = "\"><script>alert('x')</script>";
    Document document;
    document.fileName = document.tunnelService = evil;
    document.choices = {1, evil, evil, evil, evil, evil};
    PortalSettings settings;
    settings.title = evil;
    settings.papers = {evil};
    const PortalPage page{std::string(32, 'a'), "cookie", "token", "ada", "id", nullptr};
    for (const char *state : {"waiting", "released", "confirmed"}) {
        document.state = state;
        for (const auto format :
             {DocumentFormat::pdf, DocumentFormat::png, DocumentFormat::text, DocumentFormat::postScript}) {
            document.format = format;
            EXPECT_THAT(documentPage(settings, page, document), Not(HasSubstr("<script"))) << state;
        }
    }
    EXPECT_THAT(correctionPage(settings, page, document, document.choices, evil), Not(HasSubstr("<script")));
    EXPECT_THAT(documentPage(settings, page, document), Not(HasSubstr("cookie")));
}

TEST(Pages, sizes_read_well)
{
    EXPECT_EQ(humanBytes(0), "0 bytes");
    EXPECT_EQ(humanBytes(999), "999 bytes");
    EXPECT_EQ(humanBytes(1000), "1.0 kB");
    EXPECT_EQ(humanBytes(999'949), "999.9 kB");
    EXPECT_EQ(humanBytes(999'950), "1.0 MB");
    EXPECT_EQ(humanBytes(2'147'483'647), "2.1 GB");
}

} // namespace appserver
