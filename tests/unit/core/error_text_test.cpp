// SPDX-License-Identifier: MIT
#include "vrp/core/error_text.h"

#include <gtest/gtest.h>

namespace {

struct Case
{
    const wchar_t *text;
    int code;
    const wchar_t *filled;
};

TEST(ErrorText, fills_the_code_and_nothing_else)
{
    for (const Case &c : {
             Case{L"AddPrinter() failed. Error = %d.", 13, L"AddPrinter() failed. Error = 13."},
             Case{L"No file name given.", 0, L"No file name given."},
             Case{L"%d and %d", -1, L"-1 and -1"},
             Case{L"100%% of %d", 7, L"100% of 7"},
             Case{L"%%d", 7, L"%d"},
             Case{L"%s %n %x %5d %ld %", 7, L"%s %n %x %5d %ld %"},
             Case{L"", 7, L""},
         }) {
        EXPECT_EQ(fillErrorCode(c.text, c.code), c.filled);
    }
}

TEST(ErrorText, is_cut_at_its_capacity)
{
    EXPECT_EQ(fillErrorCode(std::wstring(20000, L'x'), 0), std::wstring(16383, L'x'));
    EXPECT_EQ(fillErrorCode(std::wstring(16382, L'x') + L"%d", 42), std::wstring(16382, L'x') + L'4');
    EXPECT_EQ(fillErrorCode(std::wstring(16383, L'x'), 0).size(), 16383U);
}

} // namespace
