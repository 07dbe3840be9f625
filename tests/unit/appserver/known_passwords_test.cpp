// SPDX-License-Identifier: MIT
#include "appserver/Database.h"
#include "appserver/KnownPasswords.h"
#include "appserver/UserStore.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

namespace appserver {
namespace {

class KnownPasswordsTest : public ::testing::Test
{
protected:
    KnownPasswordsTest() { initialiseSecrets(); }

    [[nodiscard]] bool knows(const std::string &user, std::string_view hash, std::string_view password,
                             std::chrono::seconds later = {}) const
    {
        return m_known.knows(user, hash, password, m_start + later);
    }

    KnownPasswords m_known;
    const KnownPasswords::Clock::time_point m_start = KnownPasswords::Clock::now();
};

TEST_F(KnownPasswordsTest, only_the_same_password_of_the_same_user_and_hash_is_known)
{
    EXPECT_FALSE(knows("ada", "hash", "lovelace"));
    m_known.remember("ada", "hash", "lovelace", m_start);
    EXPECT_TRUE(knows("ada", "hash", "lovelace"));
    EXPECT_FALSE(knows("ada", "hash", "Lovelace"));
    EXPECT_FALSE(knows("ada", "hash", ""));
    EXPECT_FALSE(knows("ada", "another hash", "lovelace"));
    EXPECT_FALSE(knows("eve", "hash", "lovelace"));
    EXPECT_FALSE(knows("ada", "hashl", "ovelace"));
}

TEST_F(KnownPasswordsTest, a_password_is_forgotten_after_its_lifetime)
{
    m_known.remember("ada", "hash", "lovelace", m_start);
    EXPECT_TRUE(knows("ada", "hash", "lovelace", KnownPasswords::lifetime - std::chrono::seconds(1)));
    EXPECT_FALSE(knows("ada", "hash", "lovelace", KnownPasswords::lifetime));
}

TEST_F(KnownPasswordsTest, a_full_table_forgets_the_oldest)
{
    const auto user = [](std::size_t index) { return "user" + std::to_string(index); };
    for (std::size_t index = 0; index <= KnownPasswords::maxUsers; ++index) {
        m_known.remember(user(index), "hash", "password", m_start + std::chrono::milliseconds(index));
    }
    EXPECT_FALSE(knows(user(0), "hash", "password"));
    EXPECT_TRUE(knows(user(1), "hash", "password"));
    EXPECT_TRUE(knows(user(KnownPasswords::maxUsers), "hash", "password"));
}

/// The table behind the check of a login: each case begins with a password that is known.
class KnownUser : public KnownPasswordsTest
{
protected:
    KnownUser()
        : m_database(m_folder.path() / "users.db"),
          m_users(m_database, [this](const std::string &hash, std::string_view password) {
              ++m_hashings;
              return verifyPassword(hash, password);
          })
    {
        m_users.add("ada", "lovelace");
        EXPECT_EQ(m_users.check("ada", "lovelace"), UserStore::Check::good);
    }

    int m_hashings = 0;
    TemporaryFolder m_folder;
    Database m_database;
    UserStore m_users;
};

TEST_F(KnownUser, a_second_login_does_not_hash)
{
    EXPECT_EQ(m_hashings, 1);
    EXPECT_EQ(m_users.check("ada", "lovelace"), UserStore::Check::good);
    EXPECT_EQ(m_hashings, 1);
}

TEST_F(KnownUser, every_wrong_password_is_hashed)
{
    for (int tries = 1; tries <= 3; ++tries) {
        EXPECT_EQ(m_users.check("ada", "wrong"), UserStore::Check::wrongPassword);
        EXPECT_EQ(m_hashings, 1 + tries);
    }
}

TEST_F(KnownUser, a_wrong_password_stays_wrong_and_the_right_one_known)
{
    EXPECT_EQ(m_users.check("ada", "Lovelace"), UserStore::Check::wrongPassword);
    EXPECT_EQ(m_users.check("ada", "lovelace"), UserStore::Check::good);
}

TEST_F(KnownUser, a_changed_password_counts_at_once)
{
    m_users.setPassword("ada", "byron");
    EXPECT_EQ(m_users.check("ada", "lovelace"), UserStore::Check::wrongPassword);
    EXPECT_EQ(m_users.check("ada", "byron"), UserStore::Check::good);
    EXPECT_EQ(m_users.check("ada", "lovelace"), UserStore::Check::wrongPassword);
}

TEST_F(KnownUser, a_hash_that_another_process_replaced_counts_at_once)
{
    Statement(m_database, "UPDATE users SET password_hash = 'spoilt'").run();
    EXPECT_EQ(m_users.check("ada", "lovelace"), UserStore::Check::wrongPassword);
}

TEST_F(KnownUser, a_removed_user_is_unknown_at_once_and_a_new_one_of_that_name_has_the_new_password)
{
    m_users.remove("ada");
    EXPECT_EQ(m_users.check("ada", "lovelace"), UserStore::Check::unknownUser);
    m_users.add("ada", "byron");
    EXPECT_EQ(m_users.check("ada", "lovelace"), UserStore::Check::wrongPassword);
}

} // namespace
} // namespace appserver
