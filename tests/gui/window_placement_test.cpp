// SPDX-License-Identifier: MIT
#include "vrp/ui/window_placement.h"

#include "tests/support/qt_printers.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

constexpr int largest = std::numeric_limits<int>::max();

/// Two screens side by side, the second one higher up; each has a panel of 30 pixels at its top.
const QList<ScreenArea> screens{{{0, 0, 1000, 800}, {0, 30, 1000, 770}},
                                {{1000, -200, 500, 600}, {1000, -170, 500, 570}}};
constexpr QSize title(300, 24);
constexpr QSize window(300, 100);

TEST(WindowPlacement, is_exact_wherever_any_of_the_title_is_on_some_screen)
{
    for (const QPoint &wanted : {QPoint(20, 20), QPoint(0, 0), QPoint(999, 799), QPoint(1499, 399),
                                 QPoint(-299, 10), QPoint(700, 790), QPoint(1200, -223)}) {
        EXPECT_EQ(visiblePosition(wanted, title, window, screens), wanted);
    }
}

TEST(WindowPlacement, is_otherwise_the_nearest_place_that_shows_the_whole_window)
{
    const struct
    {
        QPoint wanted, placed;
    } cases[] = {
        {{500, 800}, {500, 700}}, {{500, 5000}, {500, 700}},         {{-300, 100}, {0, 100}},
        {{1500, 0}, {1200, 0}},   {{largest, largest}, {1200, 300}}, {{1300, 450}, {1200, 300}},
        {{100, -24}, {100, 30}},
    };

    for (const auto &c : cases) {
        EXPECT_EQ(visiblePosition(c.wanted, title, window, screens), c.placed);
    }
}

TEST(WindowPlacement, keeps_the_title_of_a_window_larger_than_the_screen)
{
    EXPECT_EQ(visiblePosition({3000, 3000}, {2000, 24}, {2000, 2000}, {{{0, 0, 800, 600}, {0, 0, 800, 600}}}),
              QPoint(0, 0));
}

TEST(WindowPlacement, is_exact_without_a_screen)
{
    EXPECT_EQ(visiblePosition({5000, 5000}, title, window, {}), QPoint(5000, 5000));
}

} // namespace
