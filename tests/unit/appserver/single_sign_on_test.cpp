// SPDX-License-Identifier: MIT
#include "appserver/single_sign_on.h"

#include "appserver/ServerConfiguration.h"
#include "appserver/negotiate.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace appserver {
namespace {

using ::testing::HasSubstr;

struct Principal
{
    std::string name;
    std::string user; ///< empty: nobody
};

class Principals : public ::testing::TestWithParam<Principal>
{};

TEST_P(Principals, stand_for_a_user_when_they_are_people_of_the_realm)
{
    EXPECT_EQ(userOfPrincipal(GetParam().name, "EXAMPLE.COM").value_or(""), GetParam().user);
}

INSTANTIATE_TEST_SUITE_P(
    All, Principals,
    ::testing::Values(Principal{"alice@EXAMPLE.COM", "alice"}, Principal{"Alice B@EXAMPLE.COM", "Alice B"},
                      Principal{"alice@example.com", ""}, Principal{"alice@EXAMPLE.COM.EVIL.ORG", ""},
                      Principal{"alice@OTHER.COM", ""}, Principal{"alice@", ""}, Principal{"alice", ""},
                      Principal{"", ""}, Principal{"@EXAMPLE.COM", ""},
                      Principal{"alice/admin@EXAMPLE.COM", ""}, Principal{"HTTP/host@EXAMPLE.COM", ""},
                      Principal{"a\\@b@EXAMPLE.COM", ""}, Principal{"alice@OTHER.COM@EXAMPLE.COM", ""},
                      Principal{"a|b@EXAMPLE.COM", ""}, Principal{"a\nb@EXAMPLE.COM", ""},
                      Principal{std::string(129, 'a') + "@EXAMPLE.COM", ""}));

TEST(Principals, nobody_is_of_an_empty_realm)
{
    EXPECT_FALSE(userOfPrincipal("alice@", ""));
}

TEST(Token, is_the_base64_behind_the_scheme_in_any_letter_case)
{
    EXPECT_EQ(tokenOf("Negotiate YWJj"), "abc");
    EXPECT_EQ(tokenOf("nEGOTIATE YWI="), "ab");
    EXPECT_EQ(tokenOf("Negotiate YQ=="), "a");
}

TEST(Token, of_anything_else_is_empty)
{
    for (const std::string &header :
         {std::string(), std::string("Negotiate"), std::string("Negotiate "), std::string("Basic YWJj"),
          std::string("Negotiate YWJ"), std::string("Negotiate Y*Jj"), std::string("NegotiateYWJj"),
          std::string("Negotiate     "), "Negotiate " + std::string(8192, 'A')}) {
        EXPECT_EQ(tokenOf(header), "") << header;
    }
}

std::string errorOf(const std::string &text)
{
    try {
        const ServerConfiguration configuration = ServerConfiguration::parse("[SingleSignOn]\n" + text);
        return configuration.singleSignOn.isOn() ? "on" : "off";
    } catch (const ConfigurationError &error) {
        return error.what();
    }
}

TEST(SingleSignOnSettings, want_a_keytab_and_a_realm)
{
    EXPECT_EQ(errorOf(""), "off");
    EXPECT_EQ(errorOf("Keytab=\nRealm=\n"), "off");
    EXPECT_THAT(errorOf("Keytab=/etc/keytab\n"), HasSubstr("[SingleSignOn] Realm"));
    EXPECT_THAT(errorOf("Realm=EXAMPLE.COM\n"), HasSubstr("[SingleSignOn] Keytab"));
    EXPECT_THAT(errorOf("Keytab=keytab\nRealm=EXAMPLE.COM\n"), HasSubstr("an absolute path is wanted"));
}

TEST(SingleSignOnSettings, are_refused_by_a_build_without_gssapi)
{
    EXPECT_THAT(errorOf("Keytab=/etc/keytab\nRealm=EXAMPLE.COM\n"),
                HasSubstr(canNegotiate() ? "on" : "this server was built without GSSAPI"));
}

} // namespace
} // namespace appserver
