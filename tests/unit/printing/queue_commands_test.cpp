// SPDX-License-Identifier: MIT
#include "vrp/platform/queue_commands.h"

#include <gtest/gtest.h>

TEST(queue_commands, are_the_documented_ones_to_the_letter)
{
    EXPECT_EQ(queue_commands::createQueue(L"Office 2", L"varek", L"/opt/vrp/A B.ppd"),
              L"lpadmin -p \"Office 2\" -E -v \"varek:127.0.0.1\" -P \"/opt/vrp/A B.ppd\" -D \"Office 2\"");
    EXPECT_EQ(queue_commands::deleteQueue(L"Office 2"), L"lpadmin -x \"Office 2\"");
    EXPECT_EQ(queue_commands::protectBackend(L"varek"), L"chmod 700 /usr/libexec/cups/backend/varek");
    EXPECT_EQ(queue_commands::makeExecutable(L"/opt/v r p"), L"chmod ugoa+x \"/opt/v r p\"");
}

TEST(queue_commands, the_launcher_runs_the_program_beside_it)
{
    EXPECT_EQ(queue_commands::launcherScript(L"vrp", L"Office"),
              L"#!/bin/sh\nexec \"${0%/*}/vrp\" -m configure -p \"Office\"");
}

TEST(queue_commands, a_double_quote_in_a_name_is_not_escaped)
{
    EXPECT_EQ(queue_commands::deleteQueue(L"a\"b"), L"lpadmin -x \"a\"b\"");
}
