// SPDX-License-Identifier: MIT
#include "appserver/LoginThrottle.h"
#include "appserver/PortalSessions.h"
#include "appserver/control_digest.h"
#include "tests/support/wait_for.h"
#include "tests/unit/appserver/AppServerTest.h"

namespace appserver {

using ::testing::ElementsAre;
using namespace std::chrono_literals;

/// What the server remembers, and for how long.
class ServerMemory : public AppServerTest
{
protected:
    /// The session of a new login with a document of this name in it.
    std::shared_ptr<ServerSession> portalSession(std::uint8_t nonce)
    {
        const std::string id = ask(RequestText().hello("portal", nonce).command(1, login)).session;
        return services->sessions.find(id, 1800s);
    }

    static std::string digestOf(const std::shared_ptr<ServerSession> &session)
    {
        return controlDigest(session->id, "ada", "lovelace");
    }

    PortalSessions pages;
};

TEST_F(ServerMemory, a_portal_page_that_nobody_uses_is_forgotten)
{
    const auto session = portalSession(1);
    const auto page = pages.open(session, digestOf(session), 10);
    ASSERT_TRUE(page);
    EXPECT_EQ(page->owner, "ada");
    EXPECT_TRUE(pages.find(page->id, page->cookie, 1800s));
    EXPECT_FALSE(pages.find(page->id, page->cookie, 0s));
    EXPECT_FALSE(pages.find(page->id, page->cookie, 1800s)) << "it does not come back";
}

TEST_F(ServerMemory, a_page_that_is_used_keeps_its_session_alive_and_a_stranger_does_not)
{
    const auto session = portalSession(1);
    const auto page = pages.open(session, digestOf(session), 10);
    ASSERT_TRUE(page);
    waitFor("a session to be idle", [&] { return session->idleTime() > 50ms; });
    EXPECT_FALSE(pages.find(page->id, "somebody else's cookie", 1800s));
    EXPECT_GT(session->idleTime(), 50ms);
    waitFor("a session that was used just now",
            [&] { return pages.find(page->id, page->cookie, 1800s) && session->idleTime() <= 50ms; });
}

TEST_F(ServerMemory, idle_portal_pages_are_tidied_up)
{
    const auto session = portalSession(1);
    const auto page = pages.open(session, digestOf(session), 10);
    pages.removeIdle(1800s);
    EXPECT_TRUE(pages.find(page->id, page->cookie, 1800s));
    pages.removeIdle(0s);
    EXPECT_FALSE(pages.find(page->id, page->cookie, 1800s));
}

TEST_F(ServerMemory, the_page_that_was_not_used_for_the_longest_time_makes_room)
{
    std::vector<PortalPage> opened;
    for (std::uint8_t nonce = 1; nonce <= 3; ++nonce) {
        const auto session = portalSession(nonce);
        opened.push_back(pages.open(session, digestOf(session), 2).value());
        if (nonce == 2) {
            EXPECT_TRUE(
                pages.find(opened[0].id, opened[0].cookie, 1800s)); // used: now the second is the oldest
        }
    }
    EXPECT_TRUE(pages.find(opened[0].id, opened[0].cookie, 1800s));
    EXPECT_FALSE(pages.find(opened[1].id, opened[1].cookie, 1800s));
    EXPECT_TRUE(pages.find(opened[2].id, opened[2].cookie, 1800s));
}

TEST_F(ServerMemory, a_page_opens_for_a_person_of_a_session_that_has_not_ended)
{
    const std::string nobody = ask(RequestText().hello("portal", 1)).session;
    EXPECT_FALSE(pages.open(services->sessions.find(nobody, 1800s), std::string(32, '-'), 10));
    EXPECT_FALSE(pages.open(nullptr, std::string(32, '-'), 10));
    const auto ended = portalSession(2);
    ask(RequestText().session(ended->id, 1).end());
    EXPECT_FALSE(pages.open(ended, digestOf(ended), 10));
}

TEST_F(ServerMemory, a_page_has_no_document_unless_its_session_holds_the_name_of_one)
{
    const wire::Value values[]{wire::Value(std::int64_t{1}), wire::Value(wire::StringList{"id"})};
    std::uint8_t nonce = 0;
    for (const wire::Value &value : values) {
        const auto session = portalSession(++nonce);
        ask(RequestText()
                .session(session->id, 1)
                .command(2, "VR_CMD=|OBJECT:SEND| NAME=|FILE_ID|")
                .value("FILE_ID", value));
        EXPECT_EQ(pages.open(session, digestOf(session), 10).value().documentId, "");
    }
    const auto session = portalSession(++nonce);
    ask(RequestText()
            .session(session->id, 1)
            .command(2, "VR_CMD=|OBJECT:SEND| NAME=|FILE_ID|")
            .file("FILE_ID", "id"));
    EXPECT_EQ(pages.open(session, digestOf(session), 10).value().documentId, "");
}

TEST_F(ServerMemory, a_session_is_found_until_it_was_idle_for_too_long)
{
    const std::string id = openUpload();
    EXPECT_TRUE(services->sessions.find(id, 1800s));
    EXPECT_FALSE(services->sessions.find(id, 0s));
    EXPECT_EQ(services->sessions.count(), 0U);
}

TEST_F(ServerMemory, the_longest_idle_stranger_makes_room_first)
{
    configure("[Limits]\nSessions=3\n");
    std::vector<std::string> ids;
    for (std::uint8_t nonce = 1; nonce <= 3; ++nonce) {
        ids.push_back(ask(RequestText().hello("directory", nonce)).session);
    }
    ask(RequestText().session(ids[0])); // used: now the second is the oldest
    EXPECT_THAT(ask(RequestText().hello("directory", 4)).lines, ElementsAre("W", "Z 0"));
    EXPECT_THAT(ask(RequestText().session(ids[0])).lines, ElementsAre("Z 0"));
    EXPECT_THAT(ask(RequestText().session(ids[1])).lines, ElementsAre("X 0 SYSTEM/SESSION/101", "Z 0"));
    EXPECT_THAT(ask(RequestText().session(ids[2])).lines, ElementsAre("Z 0"));
}

TEST_F(ServerMemory, a_hello_is_recognised_for_a_minute)
{
    SessionTable sessions(folder / "others");
    wire::HelloFrame hello;
    hello.nonce.fill(7);
    const auto start = SessionTable::Clock::now();
    const auto opened = sessions.open(hello, 10, {}, start);
    EXPECT_EQ(sessions.open(hello, 10, {}, start + 59s), opened);
    EXPECT_NE(sessions.open(hello, 10, {}, start + 60s), opened);
}

TEST_F(ServerMemory, a_hello_whose_session_is_gone_opens_a_new_one)
{
    const std::string first = ask(RequestText().hello("directory", 1)).session;
    ask(RequestText().session(first).end());
    services->sessions.removeIdle(1800s);
    const AnswerText again = ask(RequestText().hello("directory", 1));
    EXPECT_THAT(again.lines, ElementsAre("W", "Z 0"));
    EXPECT_NE(again.session, first);
}

TEST(LoginMemory, failures_of_a_window_that_is_over_do_not_add_to_new_ones)
{
    LoginThrottle throttle;
    const LoginThrottle::Rule rule{2, 60s};
    const auto now = LoginThrottle::Clock::now();
    throttle.failed("ada", "192.0.2.1", rule, now);
    throttle.failed("ada", "192.0.2.1", rule, now + 61s);
    EXPECT_FALSE(throttle.refuses("ada", "192.0.2.1", rule, now + 62s));
    throttle.failed("ada", "192.0.2.1", rule, now + 63s);
    EXPECT_TRUE(throttle.refuses("ada", "192.0.2.1", rule, now + 64s));
}

TEST(LoginMemory, invented_names_do_not_fill_the_memory_and_the_address_is_still_counted)
{
    LoginThrottle throttle;
    const LoginThrottle::Rule rule{1'000'000, 60s};
    const LoginThrottle::Rule strict{1, 60s};
    const auto now = LoginThrottle::Clock::now();
    for (int i = 0; i < 50'000; ++i) {
        throttle.failed("user" + std::to_string(i), "192.0.2.1", rule, now);
    }
    throttle.failed("one more", "192.0.2.1", rule, now);
    EXPECT_FALSE(throttle.refuses("one more", "192.0.2.1", LoginThrottle::Rule{100'000, 60s}, now));
    EXPECT_TRUE(throttle.refuses("anybody", "192.0.2.1", LoginThrottle::Rule{5'000, 60s}, now));
    // A window later the old names have gone and new ones are counted again.
    throttle.failed("later", "192.0.2.2", strict, now + 61s);
    EXPECT_TRUE(throttle.refuses("later", "192.0.2.2", strict, now + 61s));
    EXPECT_FALSE(throttle.refuses("user1", "192.0.2.1", strict, now + 61s));
}

TEST(LoginMemory, more_addresses_than_are_remembered_do_not_fill_it_and_the_first_ones_stay_refused)
{
    LoginThrottle throttle;
    const LoginThrottle::Rule rule{1, 60s};
    const auto now = LoginThrottle::Clock::now();
    for (int i = 0; i < 100'000; ++i) {
        throttle.failed("ada", std::to_string(i), rule, now);
    }
    EXPECT_TRUE(throttle.refuses("ada", "0", rule, now));
    EXPECT_FALSE(throttle.refuses("ada", "99999", rule, now));
    throttle.failed("ada", "99999", rule, now + 61s);
    EXPECT_TRUE(throttle.refuses("ada", "99999", rule, now + 61s));
}

TEST(ControlDigest, takes_code_points_of_every_length_and_bytes_that_are_none)
{
    const std::string other = "\xED\x9E\xBF\x3F"; // what every low byte from 0x80 on becomes
    const std::pair<std::string, std::string> cases[]{
        {"a", "A"},
        {"\xC2\xA2", other},                        // U+00A2
        {"\xC5\x81", "A"},                          // U+0141
        {"\xE2\x82\xAC", other},                    // U+20AC
        {"\xE4\xB8\xAD", "-"},                      // U+4E2D
        {"\xF0\x9F\x98\x80", std::string(1, '\0')}, // U+1F600
        {"\xF0\x9F\x98", other + other + other},
        {"\xE2\x82x", other + other + "X"},
        {"\xC3", other},
        {"\xF5\x80", other + other},
        {"\x80z", other + "Z"},
    };
    for (const auto &[text, bytes] : cases) {
        EXPECT_EQ(upperCasedForDigest(text), bytes) << ::testing::PrintToString(text);
    }
}

} // namespace appserver
