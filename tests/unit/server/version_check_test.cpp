// SPDX-License-Identifier: MIT
#include "vrp/server/version_check.h"

#include "tests/support/ServerTest.h"
#include "vrp/server/version_number.h"

namespace {

class VersionCheck : public ServerTest
{
protected:
    int check() { return VrpsCheckVersion(parameters); }

    void answerPrompt(int answer)
    {
        user.inUpdatePrompt = [this, answer] { main->updateAnswer = answer; };
    }

    ParameterMap parameters{{L"LAST_VERSION_CHECK", L"yes "},
                            {L"LAST_VERSION", L"1.01.000"},
                            {L"LAST_VERSION_DOWNLOAD", L" http://host/down load "}};
};

TEST_F(VersionCheck, upgrading_opens_the_address_in_upper_case_and_stops_the_send)
{
    answerPrompt(1);
    EXPECT_EQ(check(), 1);
    EXPECT_EQ(Transcript::text(), "dialog update\nbrowser HTTP://HOST/DOWNLOAD\n");
}

TEST_F(VersionCheck, a_browser_that_cannot_be_started_stops_the_send_as_well)
{
    answerPrompt(1);
    user.browserStarts = false;
    EXPECT_EQ(check(), 1);
    EXPECT_EQ(boxes(), "");
}

TEST_F(VersionCheck, declining_goes_on)
{
    answerPrompt(0);
    EXPECT_EQ(check(), 0);
    EXPECT_EQ(Transcript::text(), "dialog update\n");
}

TEST_F(VersionCheck, cancelling_stops_the_send_without_opening_anything)
{
    answerPrompt(2);
    EXPECT_EQ(check(), 1);
    EXPECT_EQ(Transcript::text(), "dialog update\n");
}

TEST_F(VersionCheck, a_dismissed_prompt_goes_on_whatever_was_answered_before)
{
    main->updateAnswer = 2;
    EXPECT_EQ(check(), 0);
}

struct SkipCase
{
    const char *name;
    const wchar_t *key;
    const wchar_t *value;
};

TEST_F(VersionCheck, there_is_no_prompt_without_a_newer_version_a_wish_and_an_address)
{
    const SkipCase cases[] = {
        {"switched off", L"LAST_VERSION_CHECK", L"no"},
        {"no switch", L"LAST_VERSION_CHECK", L""},
        {"no version", L"LAST_VERSION", L""},
        {"no number", L"LAST_VERSION", L"new"},
        {"zero", L"LAST_VERSION", L"0.0"},
        {"negative", L"LAST_VERSION", L"-9.99.999"},
        {"the own version", L"LAST_VERSION", L"1.00.000"},
        {"older", L"LAST_VERSION", L"0.99.999"},
        {"fewer digits", L"LAST_VERSION", L"2.0"},
        {"no address", L"LAST_VERSION_DOWNLOAD", L" "},
    };
    const ParameterMap complete = parameters;
    for (const SkipCase &each : cases) {
        parameters = complete;
        parameters[each.key] = each.value;
        EXPECT_EQ(check(), 0) << each.name;
        parameters.erase(each.key);
        EXPECT_EQ(check(), 0) << each.name;
    }
    EXPECT_EQ(Transcript::text(), "");
}

TEST_F(VersionCheck, the_users_setting_disables_it_in_any_letter_case)
{
    for (const wchar_t *setting : {L"no", L"No", L" NO ", L"0"}) {
        VrpsSetCompanyRegistryKey(L"Settings", L"CheckVersion", setting, true);
        EXPECT_EQ(check(), 0);
    }
    EXPECT_EQ(Transcript::text(), "");
    VrpsSetCompanyRegistryKey(L"Settings", L"CheckVersion", L" Yes", true);
    check();
    EXPECT_EQ(Transcript::text(), "dialog update\n");
}

TEST_F(VersionCheck, the_machines_setting_does_not_count)
{
    VrpsSetCompanyRegistryKey(L"Settings", L"CheckVersion", L"no", false);
    check();
    EXPECT_EQ(Transcript::text(), "dialog update\n");
}

TEST_F(VersionCheck, the_own_version_is_the_installed_one)
{
    VrpsSetCompanyRegistryKey(L"Software", L"Version", L"1.01.000", false);
    EXPECT_EQ(check(), 0);
    EXPECT_EQ(Transcript::text(), "");
}

TEST(VersionNumber, dots_and_blanks_do_not_count)
{
    EXPECT_EQ(versionNumber(L"1.00.000"), 100000);
    EXPECT_EQ(versionNumber(L" 1.01 .000\t"), 101000);
    EXPECT_EQ(versionNumber(L"2.0"), 20);
    EXPECT_EQ(versionNumber(L"1.2b3"), 12);
    EXPECT_EQ(versionNumber(L"v1"), 0);
    EXPECT_EQ(versionNumber(L"99999999999"), 2147483647);
}

} // namespace
