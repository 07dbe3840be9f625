// SPDX-License-Identifier: MIT
#include "tests/e2e/tickets/ClientTicket.h"
#include "tests/support/FrameClient.h"
#include "tests/support/KerberosRealm.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <utility>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

constexpr char noTicket[] = "no ticket";

class Tickets : public testing::Test
{
protected:
    Tickets()
    {
        m_realm.addPerson("alice", "alice-secret");
        m_realm.logIn("alice", "alice-secret");
        useRealm(KerberosRealm::name);
    }

    void useRealm(const std::string &realm)
    {
        m_server.configure("[SingleSignOn]\nKeytab=" + m_keytab.string() + "\nRealm=" + realm);
    }

    [[nodiscard]] httplib::Client plainClient() const
    {
        httplib::Client client(m_server.host(), m_server.plainPort());
        client.set_keep_alive(true);
        return client;
    }

    /// What `GET /vrc` is answered with.
    template <typename Client>
    static std::pair<int, std::string> greet(Client &client, const std::string &authorization)
    {
        const auto response = client.Get("/vrc", {{"Authorization", authorization}});
        return response ? std::pair(response->status, response->get_header_value("WWW-Authenticate"))
                        : std::pair(0, std::string());
    }

    /// Opens a session with single sign-on; the answer, or the status when that is not 200.
    template <typename Client>
    static AnswerText open(Client &client, const std::string &authorization, std::uint8_t nonce = 1)
    {
        wire::HelloFrame hello;
        hello.lowestVersion = hello.highestVersion = wire::protocolVersion;
        hello.nonce.fill(nonce);
        hello.application = "upload";
        hello.singleSignOn = true;
        RequestText request;
        request.add(hello).command(1, "VR_CMD=|OBJECT:CREATE| TYPE=|FILE| NAME=|PACKED|");
        const httplib::Headers headers = authorization == noTicket
                                             ? httplib::Headers{}
                                             : httplib::Headers{{"Authorization", authorization}};
        const auto response = client.Post("/vrc", headers, request.text, wire::mediaType);
        AnswerText answer;
        if (!response || response->status != 200) {
            answer.lines = {response ? std::to_string(response->status) : "none"};
            return answer;
        }
        return decodeAnswer(response->body);
    }

    KerberosRealm m_realm;
    std::filesystem::path m_keytab = m_realm.keytabOf("HTTP/localhost");
    ServerProcess m_server;
};

TEST_F(Tickets, a_request_with_a_ticket_opens_a_session_of_its_person)
{
    httplib::Client client = plainClient();
    const AnswerText answer = open(client, ClientTicket().header());
    EXPECT_THAT(answer.lines, ElementsAre(StartsWith("W"), "R 1", "Z 1"));
}

TEST_F(Tickets, the_session_is_named_by_its_identifier_on_any_connection)
{
    std::string session;
    {
        httplib::Client first = plainClient();
        session = open(first, ClientTicket().header()).session;
    }
    m_realm.logOut();
    FrameClient second(m_server);
    EXPECT_THAT(
        second
            .ask(RequestText().session(session).command(2, "VR_CMD=|OBJECT:CREATE| TYPE=|FILE| NAME=|MORE|"))
            .lines,
        ElementsAre("R 2", "Z 2"));
}

TEST_F(Tickets, a_request_without_one_is_told_to_bring_one)
{
    httplib::Client client = plainClient();
    EXPECT_THAT(open(client, noTicket).lines, ElementsAre("401"));
}

TEST_F(Tickets, a_ticket_counts_once)
{
    httplib::Client client = plainClient();
    const std::string header = ClientTicket().header();
    EXPECT_EQ(greet(client, header).first, 204);
    EXPECT_EQ(greet(client, header).first, 401);
    EXPECT_THAT(open(client, header).lines, ElementsAre("401"));
    EXPECT_THAT(m_server.log(), HasSubstr("single sign-on refused: "));
}

TEST_F(Tickets, nonsense_is_refused)
{
    httplib::Client client = plainClient();
    for (const std::string &header :
         {std::string("Negotiate"), std::string("Negotiate AAAA"), std::string("Negotiate !!!!"),
          std::string("Basic YWxpY2U6YWxpY2Utc2VjcmV0"), "Negotiate " + std::string(7000, 'A')}) {
        EXPECT_EQ(greet(client, header), std::pair(401, std::string("Negotiate"))) << header;
        EXPECT_THAT(open(client, header).lines, ElementsAre("401")) << header;
    }
}

TEST_F(Tickets, a_token_without_end_is_refused_before_it_is_looked_at)
{
    httplib::Client client = plainClient();
    EXPECT_EQ(greet(client, "Negotiate " + std::string(100'000, 'A')).first, 400);
}

TEST_F(Tickets, a_negotiation_of_several_steps_goes_on_over_one_connection)
{
    FrameClient client(m_server);
    ClientTicket ticket(GSS_C_DCE_STYLE | GSS_C_MUTUAL_FLAG);
    const auto [status, answer] = greet(client.http(), ticket.header());
    ASSERT_EQ(status, 401);
    ASSERT_THAT(answer, StartsWith("Negotiate "));
    const auto [end, proof] = greet(client.http(), ticket.header(answer));
    ASSERT_EQ(end, 204);
    static_cast<void>(ticket.header(proof));
    EXPECT_TRUE(ticket.isComplete());
    EXPECT_THAT(open(client.http(), noTicket).lines, ElementsAre(StartsWith("W"), "R 1", "Z 1"));
}

TEST_F(Tickets, a_step_on_another_connection_is_worth_nothing)
{
    FrameClient first(m_server);
    FrameClient second(m_server);
    ClientTicket ticket(GSS_C_DCE_STYLE | GSS_C_MUTUAL_FLAG);
    const std::string answer = greet(first.http(), ticket.header()).second;
    EXPECT_EQ(greet(second.http(), ticket.header(answer)).first, 401);
}

TEST_F(Tickets, over_tls_a_ticket_counts_for_its_connection)
{
    FrameClient client(m_server);
    EXPECT_EQ(greet(client.http(), ClientTicket().header()).first, 204);
    EXPECT_THAT(open(client.http(), noTicket).lines, ElementsAre(StartsWith("W"), "R 1", "Z 1"));
    FrameClient other(m_server);
    EXPECT_THAT(open(other.http(), noTicket).lines, ElementsAre("401"));
}

TEST_F(Tickets, without_tls_a_ticket_counts_for_its_request_alone)
{
    httplib::Client client = plainClient();
    EXPECT_EQ(greet(client, ClientTicket().header()).first, 204);
    EXPECT_THAT(open(client, noTicket).lines, ElementsAre("401"));
}

TEST_F(Tickets, a_repeated_opening_gets_the_session_again_only_for_the_same_person)
{
    m_realm.addPerson("bob", "bob-secret");
    httplib::Client client = plainClient();
    const std::string first = open(client, ClientTicket().header()).session;
    EXPECT_EQ(open(client, ClientTicket().header()).session, first);
    m_realm.logIn("bob", "bob-secret");
    const std::string other = open(client, ClientTicket().header()).session;
    EXPECT_FALSE(other.empty());
    EXPECT_NE(other, first);
}

TEST_F(Tickets, people_of_another_realm_are_nobody_here)
{
    useRealm("OTHER.TEST");
    httplib::Client client = plainClient();
    EXPECT_EQ(greet(client, ClientTicket().header()).first, 401);
    EXPECT_THAT(open(client, ClientTicket().header()).lines, ElementsAre("401"));
    EXPECT_THAT(m_server.log(), HasSubstr("alice@VAREK.TEST is no user of this server"));
}

TEST_F(Tickets, an_unusable_keytab_is_told_in_the_log)
{
    m_server.configure("[SingleSignOn]\nKeytab=/nowhere/keytab\nRealm=VAREK.TEST");
    httplib::Client client = plainClient();
    EXPECT_EQ(greet(client, ClientTicket().header()).first, 401);
    EXPECT_THAT(m_server.log(), HasSubstr("the keytab is of no use: "));
}

TEST_F(Tickets, switched_off_the_server_says_that_it_has_no_single_sign_on)
{
    m_server.configure("[SingleSignOn]\nKeytab=\nRealm=");
    httplib::Client client = plainClient();
    EXPECT_EQ(greet(client, ClientTicket().header()).first, 204);
    const AnswerText answer = open(client, ClientTicket().header());
    EXPECT_THAT(answer.lines, ElementsAre("X 0 SYSTEM/SECURITY/104", "Z 0"));
    EXPECT_THAT(answer.errors, ElementsAre(HasSubstr("no single sign-on")));
}

} // namespace
