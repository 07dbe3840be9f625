// SPDX-License-Identifier: MIT
#include "vrp/server/portal_address.h"

#include "tests/support/SettingsFolder.h"
#include "tests/support/TurkishLocale.h"
#include "vrp/md5.h"
#include "vrp/platform/text.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::wstring upperDigest(const std::string &bytes)
{
    std::wstring digest = UTF8tow(MD5_string(bytes));
    VrpsMakeUpper(digest);
    return digest;
}

TEST(PortalAddress, session_and_digest_are_appended_and_nothing_is_encoded)
{
    EXPECT_EQ(portalAddress(L"http://host/p?x=a b&y=\u00E9", L"S 1", L"0A"),
              L"http://host/p?x=a b&y=\u00E9&VR_SESSION_ID=S 1&CTRL=0A");
}

TEST(ControlDigest, it_is_the_upper_case_digest_of_session_identifier_and_password)
{
    EXPECT_EQ(controlDigest(L"ABC", L"USER", L"PASS"), upperDigest("ABC::USER::PASS"));
    EXPECT_EQ(controlDigest(L"ABC", L"", L""), upperDigest("ABC::::"));
    // computed with another program: printf 'ABC::USER::PASS' | md5sum
    EXPECT_EQ(controlDigest(L"ABC", L"USER", L"PASS"), L"B0A25287CB585CB94E80CD1A3528CDBF");
}

TEST(ControlDigest, it_does_not_depend_on_letter_case)
{
    EXPECT_EQ(controlDigest(L"aBc", L"User", L"pass"), controlDigest(L"AbC", L"uSER", L"PASS"));
    EXPECT_NE(controlDigest(L"abc", L"user", L"pass"), controlDigest(L"abc", L"user", L"pass2"));
}

struct LetterCase
{
    const wchar_t *letter;
    const char *bytes;
};

/// The bytes that docs/protocol.md tells for letters outside ASCII.
TEST(ControlDigest, letters_outside_ascii_are_digested_as_documented)
{
    constexpr char above127[] = "\xED\x9E\xBF?";
    const LetterCase cases[] = {
        {L"\u00E9", above127}, {L"\u00DF", above127}, {L"\u20AC", above127}, {L"\u0141", "A"},
        {L"\u0131", "1"},      {L"\u0130", "0"},      {L"i", "I"},           {L"\U0001F5A8", above127},
    };
    for (const LetterCase &each : cases) {
        EXPECT_EQ(controlDigest(L"S", L"U", each.letter), upperDigest(std::string("S::U::") + each.bytes))
            << each.bytes;
    }
}

/// In Turkish the capital letter of i is another than I.
TEST(ControlDigest, a_turkish_locale_does_not_matter)
{
    const std::wstring digest = controlDigest(L"session", L"inci", L"\u0131i\u0130I");
    const TurkishLocale locale("UTF-8");
    ASSERT_TRUE(locale.isInForce()) << "needs the package locales";
    EXPECT_EQ(controlDigest(L"session", L"inci", L"\u0131i\u0130I"), digest);
}

} // namespace
