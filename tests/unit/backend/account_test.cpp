// SPDX-License-Identifier: MIT
#include "backend/account.h"

#include "backend/backend_failure.h"

#include <grp.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

using backend::Account;
using backend::AccountLookup;

namespace {

const Account alice{"alice", 54321, 54322};

/// What is left of a process's rights once it has become an account, in a process of its own.
template <typename Look>
int afterBecoming(const Account &account, Look look)
{
    const pid_t child = ::fork();
    if (child == 0) {
        const gid_t printers = 7;
        (void)::setgroups(1, &printers);
        backend::takeIdentity(account);
        ::_exit(look());
    }
    int status = -1;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

/// "" when the identity was taken.
std::string failureToBecome(const Account &account)
{
    try {
        backend::takeIdentity(account);
    } catch (const backend::BackendFailure &failure) {
        return failure.code() == backend::ExitCode::hold ? failure.what() : "another code";
    }
    return "";
}

TEST(FindSystemAccount, knows_root_and_does_not_know_a_made_up_name)
{
    EXPECT_EQ(backend::findSystemAccount("root").outcome, AccountLookup::Outcome::found);
    EXPECT_EQ(backend::findSystemAccount("no such user").outcome, AccountLookup::Outcome::absent);
}

class TakeIdentity : public testing::Test
{
protected:
    void SetUp() override { ASSERT_EQ(::geteuid(), 0U) << "these tests run as root"; }
};

TEST_F(TakeIdentity, leaves_user_and_group_of_the_account_and_no_further_group)
{
    EXPECT_EQ(afterBecoming(alice, [] { return ::getuid() == alice.uid && ::geteuid() == alice.uid; }), 1);
    EXPECT_EQ(afterBecoming(alice, [] { return ::getgid() == alice.gid && ::getegid() == alice.gid; }), 1);
    EXPECT_EQ(afterBecoming(alice,
                            [] {
                                gid_t group = 0;
                                return ::getgroups(0, nullptr) == 1 && ::getgroups(1, &group) == 1 &&
                                       group == alice.gid;
                            }),
              1);
}

TEST_F(TakeIdentity, cannot_be_undone)
{
    EXPECT_EQ(afterBecoming(alice, [] { return ::setuid(0) != 0 && ::seteuid(0) != 0 && ::setgid(0) != 0; }),
              1);
}

TEST_F(TakeIdentity, is_refused_without_the_rights_of_root)
{
    EXPECT_EQ(afterBecoming(alice, [] { return failureToBecome(alice).empty(); }), 1);
    EXPECT_EQ(afterBecoming(alice,
                            [] {
                                return failureToBecome({"bob", 54323, 54323}) ==
                                       "The backend does not run as root: its file must have mode 0700";
                            }),
              1);
}

} // namespace
