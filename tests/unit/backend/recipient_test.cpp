// SPDX-License-Identifier: MIT
#include "backend/recipient.h"

#include <gmock/gmock.h>

#include <map>

using backend::AccountLookup;
using backend::chooseRecipient;
using backend::parseMapping;
using backend::Recipient;

namespace {

AccountLookup lookUp(const std::string &name)
{
    const std::map<std::string, uid_t> users = {{"root", 0},    {"lp", 7},         {"alice", 1000},
                                                {"bob", 60000}, {"carol", 123456}, {"nobody", 65534},
                                                {"dyn", 61184}};
    if (name == "faraway") {
        return {AccountLookup::Outcome::unavailable, {}};
    }
    const auto found = users.find(name);
    return found == users.end()
               ? AccountLookup{}
               : AccountLookup{AccountLookup::Outcome::found, {name, found->second, found->second}};
}

Recipient choose(const std::string &user, const std::string &host, const std::string &mapping = {})
{
    std::vector<std::string> problems;
    const auto rules = parseMapping(mapping, problems);
    EXPECT_THAT(problems, testing::IsEmpty());
    return chooseRecipient(user, host, rules, lookUp);
}

TEST(ChooseRecipient, gives_a_local_job_of_an_ordinary_user_to_that_user)
{
    for (const char *user : {"alice", "bob", "carol"}) {
        const Recipient recipient = choose(user, "localhost");
        EXPECT_EQ(recipient.outcome, Recipient::Outcome::accepted) << user;
        EXPECT_EQ(recipient.account.name, user);
    }
}

#ifdef __linux__
TEST(ChooseRecipient, draws_the_line_between_people_and_system_users)
{
    const std::pair<uid_t, bool> cases[] = {
        {0, false},
        {1, false},
        {999, false},
        {1000, true},
        {61183, true},
        {61184, false},
        {65534, false},
        {65535, false},
        {65536, true},
        {100000, true},
        {static_cast<uid_t>(-1), false},
    };
    for (const auto &[uid, isAccepted] : cases) {
        const auto find = [uid = uid](const std::string &name) {
            return AccountLookup{AccountLookup::Outcome::found, {name, uid, 100}};
        };
        const Recipient recipient = chooseRecipient("x", "localhost", {}, find);
        EXPECT_EQ(recipient.outcome == Recipient::Outcome::accepted, isAccepted) << uid;
    }
}
#endif

TEST(ChooseRecipient, refuses_with_a_reason_that_can_be_shown)
{
    struct Case
    {
        const char *user, *host, *reason;
    };

    const Case cases[] = {
        {"root", "localhost", "Refused: 'root' is a system user"},
        {"lp", "localhost", "Refused: 'lp' is a system user"},
        {"nobody", "localhost", "Refused: 'nobody' is a system user"},
        {"dyn", "localhost", "Refused: 'dyn' is a system user"},
        {"mallory", "localhost", "Refused: there is no user 'mallory' on this computer"},
        {"", "localhost", "Refused: there is no user '' on this computer"},
        {"a\"\nERROR: b", "localhost", "Refused: there is no user 'a'ERROR: b' on this computer"},
        {"alice", "10.0.0.7", "Refused: the job comes from another computer (10.0.0.7)"},
        {"alice", "", "Refused: the job comes from another computer (unknown)"},
    };
    for (const Case &c : cases) {
        const Recipient recipient = choose(c.user, c.host);
        EXPECT_EQ(recipient.outcome, Recipient::Outcome::refused) << c.reason;
        EXPECT_EQ(recipient.reason, c.reason);
    }
}

TEST(ChooseRecipient, waits_for_a_user_directory_that_does_not_answer)
{
    const Recipient recipient = choose("faraway", "localhost");
    EXPECT_EQ(recipient.outcome, Recipient::Outcome::unavailable);
    EXPECT_EQ(recipient.reason, "The user directory does not answer");
}

TEST(ChooseRecipient, follows_the_first_rule_that_fits)
{
    const std::string mapping = "# kiosk\n"
                                "map guest@localhost alice\n"
                                "map *@10.0.0.7 bob\n"
                                "\n"
                                "  map root@*   carol\n"
                                "map root@localhost alice\n"
                                "map alice@EXAMPLE@localhost alice\n";
    EXPECT_EQ(choose("guest", "127.0.0.1", mapping).account.name, "alice");
    EXPECT_EQ(choose("anybody", "10.0.0.7", mapping).account.name, "bob");
    EXPECT_EQ(choose("root", "localhost", mapping).account.name, "carol");
    EXPECT_EQ(choose("alice@EXAMPLE", "localhost", mapping).account.name, "alice");
    EXPECT_EQ(choose("anybody", "10.0.0.8", mapping).outcome, Recipient::Outcome::refused);
}

TEST(ChooseRecipient, lets_no_rule_make_a_system_user_the_recipient)
{
    EXPECT_EQ(choose("x", "localhost", "map *@* root").reason,
              "Refused by the mapping: 'root' is a system user");
    EXPECT_EQ(choose("x", "localhost", "map *@* gone").reason,
              "Refused by the mapping: there is no user 'gone' on this computer");
}

} // namespace
