// SPDX-License-Identifier: MIT
#pragma once

#include "tests/support/ServerProcess.h"

#include <gtest/gtest.h>

#include <memory>

/// One server for all tests of a suite; what each stores is told apart by its identifier.
class SharedServerTest : public testing::Test
{
protected:
    static void SetUpTestSuite() { s_server = std::make_unique<ServerProcess>(); }

    static void TearDownTestSuite() { s_server.reset(); }

    static inline std::unique_ptr<ServerProcess> s_server;
};
