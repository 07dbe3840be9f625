// SPDX-License-Identifier: MIT
#include "appserver/control_digest.h"
#include "tests/unit/appserver/AppServerTest.h"

namespace appserver {

using ::testing::ElementsAre;

class Login : public AppServerTest
{
protected:
    AnswerText tryLogin(std::uint8_t nonce, const std::string &user, const std::string &password)
    {
        return ask(
            RequestText()
                .hello("upload", nonce)
                .command(1, "VR_CMD=|MISC:NOP| POD_USER=|" + user + "| POD_PASSWORD=|" + password + "|"));
    }
};

TEST_F(Login, unknown_users_and_wrong_passwords_are_told_apart)
{
    EXPECT_THAT(tryLogin(1, "bob", "x").lines, ElementsAre("W", "X 1 SYSTEM/SECURITY/101", "Z 1"));
    EXPECT_THAT(tryLogin(2, "ada", "x").lines, ElementsAre("W", "X 1 SYSTEM/SECURITY/103", "Z 1"));
    EXPECT_THAT(tryLogin(3, "ada", "lovelace").lines, ElementsAre("W", "R 1", "Z 1"));
}

TEST_F(Login, every_command_before_the_login_is_refused)
{
    for (const char *line :
         {"VR_CMD=|MISC:NOP|", "VR_CMD=|OBJECT:REMOVE| NAME=|x|", "VR_PROC=|ProcessFile|"}) {
        EXPECT_THAT(
            ask(RequestText().hello("upload", static_cast<std::uint8_t>(line[8])).command(1, line)).lines,
            ElementsAre("W", "X 1 SYSTEM/SECURITY/102", "Z 1"))
            << line;
    }
}

TEST_F(Login, a_failed_login_ends_an_earlier_one)
{
    const std::string id = openUpload();
    EXPECT_THAT(ask(RequestText()
                        .session(id, 1)
                        .command(2, "VR_CMD=|MISC:NOP| POD_USER=|ada| POD_PASSWORD=|no|")
                        .command(3, "VR_CMD=|OBJECT:REMOVE| NAME=|x|"))
                    .lines,
                ElementsAre("X 2 SYSTEM/SECURITY/103", "X 3 SYSTEM/SECURITY/102", "Z 3"));
}

TEST_F(Login, without_a_login_a_session_reads_and_stores_nothing)
{
    EXPECT_THAT(ask(RequestText()
                        .hello("directory")
                        .command(1, "VR_PROC=|Nothing|")
                        .command(2, "VR_CMD=|OBJECT:CREATE| TYPE=|FILE| NAME=|f|")
                        .command(3, "VR_CMD=|OBJECT:SEND| NAME=|f|")
                        .file("f", "x"))
                    .lines,
                ElementsAre("W", "R 1", "X 2 SYSTEM/SECURITY/102", "X 3 SYSTEM/SECURITY/102", "Z 3"));
    EXPECT_TRUE(std::filesystem::is_empty(folder / "sessions"));
}

TEST_F(Login, many_failures_of_a_user_are_throttled_until_the_window_is_over)
{
    configure("[Limits]\nFailedLogins=3\n");
    for (std::uint8_t nonce = 1; nonce <= 3; ++nonce) {
        EXPECT_THAT(tryLogin(nonce, "ada", "guess").lines,
                    ElementsAre("W", "X 1 SYSTEM/SECURITY/103", "Z 1"));
    }
    EXPECT_THAT(tryLogin(4, "ada", "lovelace").lines, ElementsAre("W", "X 1 SYSTEM/SECURITY/105", "Z 1"));
    EXPECT_THAT(tryLogin(5, "bob", "guess").lines, ElementsAre("W", "X 1 SYSTEM/SECURITY/101", "Z 1"));

    LoginThrottle throttle;
    const LoginThrottle::Rule rule{2, std::chrono::seconds(10)};
    const auto start = LoginThrottle::Clock::now();
    throttle.failed("u", "a", rule, start);
    throttle.failed("u", "a", rule, start);
    EXPECT_TRUE(throttle.refuses("u", "a", rule, start));
    EXPECT_FALSE(throttle.refuses("u", "b", rule, start));
    EXPECT_FALSE(throttle.refuses("u", "a", rule, start + std::chrono::seconds(10)));
}

TEST_F(Login, a_good_login_ends_the_count_of_the_failures_before_it)
{
    configure("[Limits]\nFailedLogins=3\n");
    std::uint8_t nonce = 0;
    for (const char *password : {"typo", "typo", "lovelace", "typo", "typo", "lovelace"}) {
        const bool isGood = password == std::string_view("lovelace");
        EXPECT_THAT(tryLogin(++nonce, "ada", password).lines,
                    ElementsAre("W", isGood ? "R 1" : "X 1 SYSTEM/SECURITY/103", "Z 1"));
    }
}

TEST_F(Login, guessing_with_many_names_from_one_address_is_throttled_too)
{
    LoginThrottle throttle;
    const LoginThrottle::Rule rule{2, std::chrono::seconds(10)};
    for (int i = 0; i < 20; ++i) {
        throttle.failed("user" + std::to_string(i), "a", rule);
    }
    EXPECT_TRUE(throttle.refuses("somebody else", "a", rule));
}

TEST_F(Login, a_password_may_look_like_a_variable)
{
    services->users.add("eve", "##x");
    EXPECT_THAT(tryLogin(1, "eve", "##x").lines, ElementsAre("W", "R 1", "Z 1"));
}

TEST_F(Login, sql_in_names_and_passwords_is_only_text)
{
    for (const std::string text : {"' OR '1'='1", "ada'--", "ada\"; DROP TABLE users;--", "a%", "_da"}) {
        EXPECT_THAT(tryLogin(static_cast<std::uint8_t>(text.size()), text, text).lines,
                    ElementsAre("W", "X 1 SYSTEM/SECURITY/101", "Z 1"));
    }
    EXPECT_THAT(services->users.names(), ElementsAre("ada"));
}

TEST(ControlDigest, is_the_documented_digest_whatever_the_letter_case)
{
    // printf 'ABC::ADA::SECRET' | md5sum
    EXPECT_EQ(controlDigest("abc", "ada", "secret"), controlDigest("ABC", "Ada", "SECRET"));
    EXPECT_EQ(controlDigest("abc", "ada", "secret"), "4086A4D8EF64811C0A4B0962D6A39357");
}

TEST(ControlDigest, upper_cases_as_the_protocol_describes)
{
    EXPECT_EQ(upperCasedForDigest("aZ09~"), "AZ09~");
    const std::string high = "\xED\x9E\xBF?";
    EXPECT_EQ(upperCasedForDigest("\u00E9"), high);
    EXPECT_EQ(upperCasedForDigest("\u00DF"), high);
    EXPECT_EQ(upperCasedForDigest("\u20AC"), high);
    EXPECT_EQ(upperCasedForDigest("\u0141"), "A");
}

TEST(Passwords, are_stored_as_argon2id_and_never_as_they_are)
{
    initialiseSecrets();
    const std::string hash = hashPassword("lovelace");
    EXPECT_TRUE(hash.starts_with("$argon2id$v=19$m=19456,t=2,p=1$")) << hash;
    EXPECT_NE(hash, hashPassword("lovelace"));
    EXPECT_TRUE(verifyPassword(hash, "lovelace"));
    EXPECT_FALSE(verifyPassword(hash, "Lovelace"));
    EXPECT_FALSE(verifyPassword("", "lovelace"));
}

} // namespace appserver
