// SPDX-License-Identifier: MIT
#include "vrp/ui/offered_choices.h"

#include <gtest/gtest.h>

namespace {

TEST(PrintModePreselection, is_the_last_mode_or_another_one_that_is_offered)
{
    const struct
    {
        int last;
        bool standard, async, tunnel;
        int preselected;
    } cases[] = {
        {1, true, true, true, 1},    {2, true, true, true, 2},    {4, true, true, true, 4},
        {0, true, true, true, 1},    {3, true, true, true, 1},    {5, false, true, true, 2},
        {99, true, false, true, 1},  {1, false, true, true, 2},   {1, false, false, true, 4},
        {2, true, false, true, 1},   {2, false, false, true, 4},  {4, true, true, false, 1},
        {4, false, true, false, 2},  {1, false, false, false, 1}, {2, false, false, false, 2},
        {4, false, false, false, 4}, {0, false, false, false, 1},
    };

    for (const auto &c : cases) {
        EXPECT_EQ(preselectedPrintMode(c.last, c.standard, c.async, c.tunnel), c.preselected)
            << c.last << ' ' << c.standard << c.async << c.tunnel;
    }
}

TEST(ServiceTitle, is_the_second_field_of_a_row)
{
    const struct
    {
        const wchar_t *row, *title;
    } cases[] = {
        {L"1;Archive;x", L"Archive"},
        {L"1;Archive", L"Archive"},
        {L"Archive", L"Archive"},
        {L"", L""},
        {L";", L""},
        {L"1;;x", L""},
        {L"1;Entwürfe 図;", L"Entwürfe 図"},
    };

    for (const auto &c : cases) {
        EXPECT_EQ(serviceTitle(c.row), c.title) << c.row;
    }
}

} // namespace
