// SPDX-License-Identifier: MIT
#include "vrp/server/masking.h"

#include <gtest/gtest.h>

namespace {

struct MaskCase
{
    const wchar_t *name;
    const wchar_t *command;
    const wchar_t *masked;
};

TEST(Masking, the_password_field_of_a_command_is_masked_and_all_else_is_kept)
{
    const MaskCase cases[] = {
        {L"no password", L"VR_CMD=|MISC:NOP|", L"VR_CMD=|MISC:NOP|"},
        {L"at the end", L"VR_CMD=|MISC:NOP| POD_USER=|u| POD_PASSWORD=|p|",
         L"VR_CMD=|MISC:NOP| POD_USER=|u| POD_PASSWORD=|****|"},
        {L"fields behind it", L"A=|1| POD_PASSWORD=|secret| B=|2| C=||",
         L"A=|1| POD_PASSWORD=|****| B=|2| C=||"},
        {L"empty", L"POD_PASSWORD=|| B=|2|", L"POD_PASSWORD=|****| B=|2|"},
        {L"odd characters", L"POD_PASSWORD=|a b=;:\"\t\x20ACz| B=|2|", L"POD_PASSWORD=|****| B=|2|"},
        {L"with a bar", L"POD_PASSWORD=|se|cret| B=|2|", L"POD_PASSWORD=|****| B=|2|"},
        {L"never closed", L"POD_PASSWORD=|secret", L"POD_PASSWORD=|****"},
        {L"twice", L"POD_PASSWORD=|one| POD_PASSWORD=|two|", L"POD_PASSWORD=|****| POD_PASSWORD=|****|"},
    };
    for (const MaskCase &each : cases) {
        EXPECT_EQ(maskCommand(each.command), each.masked) << each.name;
    }
}

TEST(Masking, the_result_is_masked_for_a_parameter_whose_key_ends_in_password)
{
    const std::wstring getter = L"VR_CMD=|LOCAL:OBJECT:INDSTRINGLIST_GET_VALUE| NAME=|parameters| KEY=|";
    EXPECT_EQ(maskResult(getter + L"SERVER_UPLOAD_PASSWORD|", L"secret"), L"****");
    EXPECT_EQ(maskResult(getter + L"MY_PASSWORD|", L""), L"****");
    EXPECT_EQ(maskResult(getter + L"PASSWORD_RULE|", L"long"), L"long");
    EXPECT_EQ(maskResult(getter + L"SERVER_UPLOAD_USER|", L"u"), L"u");
}

TEST(Masking, the_key_itself_is_not_masked)
{
    const std::wstring command = L"VR_CMD=|LOCAL:OBJECT:INDSTRINGLIST_GET_KEY| NAME=|parameters| INDEX=|1|";
    EXPECT_EQ(maskResult(command, L"SERVER_UPLOAD_PASSWORD"), L"SERVER_UPLOAD_PASSWORD");
}

TEST(Masking, control_characters_but_the_tab_are_escaped)
{
    EXPECT_EQ(escapeControls(L"a\r\nb"), L"a\\r\\nb");
    EXPECT_EQ(escapeControls(L"a\tb"), L"a\tb");
    EXPECT_EQ(escapeControls(L"\x01\x1B\x7F\x85"), L"\\x01\\x1B\\x7F\\x85");
    EXPECT_EQ(escapeControls(L"\u00E9\u20AC \\"), L"\u00E9\u20AC \\");
    EXPECT_EQ(escapeControls(std::wstring_view(L"a\0b", 3)), L"a\\x00b");
}

} // namespace
