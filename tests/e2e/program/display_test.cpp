// SPDX-License-Identifier: MIT
#include "tests/e2e/program/ProgramTest.h"

#include <algorithm>

namespace {

class Display : public ProgramTest
{
protected:
    static const inline std::vector<Variables> withoutDisplay{
        {{"DISPLAY", ""}, {"WAYLAND_DISPLAY", ""}, {"QT_QPA_PLATFORM", ""}},
        {{"DISPLAY", ":987"}, {"QT_QPA_PLATFORM", ""}},
        {{"DISPLAY", "nonsense"}, {"QT_QPA_PLATFORM", "xcb"}},
        {{"QT_QPA_PLATFORM", "nosuchplatform"}},
    };
};

TEST_F(Display, where_none_can_be_opened_every_windowed_mode_says_so_in_one_line_and_fails)
{
    installPrinter();
    for (const Variables &variables : withoutDisplay) {
        for (const char *mode :
             {"send", "test", "testb", "configure", "help", "version", "uninstall", "install"}) {
            EXPECT_EQ(run({"-m", mode, "-p", "Office", "-f", path("none.pdf")}, variables), 1) << mode;
            EXPECT_EQ(m_output, "vrp: no window can be shown: there is no display, or it cannot be opened\n")
                << mode;
        }
    }
}

TEST_F(Display, a_silent_uninstall_needs_none)
{
    for (const Variables &variables : {withoutDisplay[0], withoutDisplay[1]}) {
        EXPECT_EQ(run({"-m", "uninstall", "-s", "-p", "Nowhere"}, variables), 1);
        EXPECT_EQ(m_output, "");
    }
}

TEST_F(Display, a_silent_send_needs_one_for_the_progress_window)
{
    EXPECT_EQ(run({"-m", "send", "-s", "-p", "Nowhere", "-l", path("run.log")}, withoutDisplay[0]), 1);
    EXPECT_EQ(std::count(m_output.begin(), m_output.end(), '\n'), 1);
}

} // namespace
