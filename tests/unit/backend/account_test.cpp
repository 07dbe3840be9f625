// SPDX-License-Identifier: MIT
#include "backend/account.h"

#include <gtest/gtest.h>

using backend::AccountLookup;

namespace {

TEST(FindSystemAccount, knows_root_and_does_not_know_a_made_up_name)
{
    EXPECT_EQ(backend::findSystemAccount("root").outcome, AccountLookup::Outcome::found);
    EXPECT_EQ(backend::findSystemAccount("no such user").outcome, AccountLookup::Outcome::absent);
}

} // namespace
