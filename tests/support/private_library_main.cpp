// SPDX-License-Identifier: MIT

// main of tests that use the real client library in a folder of their own.

#include "tests/support/PrivateLibrary.h"

#include <gtest/gtest.h>

int main(int argc, char **argv)
{
    if (PrivateLibrary::folder() == nullptr) {
        return PrivateLibrary::runAgain(argv);
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
