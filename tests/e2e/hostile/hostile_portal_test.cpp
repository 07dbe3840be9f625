// SPDX-License-Identifier: MIT
#include "tests/support/PortalBrowser.h"
#include "tests/support/RawClientTest.h"
#include "tests/support/sample_documents.h"

using ::testing::HasSubstr;
using ::testing::Not;

namespace {

/// Whoever opens a page of the portal without the right to it, or puts into it what is not for a page.
class HostilePortal : public RawClientTest
{};

} // namespace

TEST_F(HostilePortal, paths_sql_and_markup_in_every_field_stay_text)
{
    const std::string evil = "../../../tmp/x'; DROP TABLE documents; --<script>alert(1)</script>\"&";
    FrameClient client(m_server);
    const std::string id = openUpload(client);
    const std::string pdf = samplePdf("x");
    const AnswerText answer =
        client.ask(RequestText()
                       .session(id, 1)
                       .command(2, "VR_CMD=|OBJECT:SEND| NAME=|RECEIVED_FILE|")
                       .file("RECEIVED_FILE", pdf)
                       .command(3, "VR_CMD=|OBJECT:SEND| NAME=|FILE_INFO|")
                       .value("FILE_INFO", wire::IndStringList{{"PRINT_MODE", evil},
                                                               {"PRINTER_NAME", evil},
                                                               {"FILE_NAME", evil},
                                                               {"FILE_SIZE", std::to_string(pdf.size())},
                                                               {"WIN_MACHINE", evil},
                                                               {"WIN_USER", evil},
                                                               {"TUNNEL_SERVICE", evil},
                                                               {"TUNNEL_PROFILE", evil}})
                       .command(4, "VR_PROC=|ProcessFile| QUEUE=|" + evil + "|"));
    ASSERT_THAT(answer.lines, ::testing::Contains("O FILE_ID 32"));
    const auto documents = m_server.documents();
    ASSERT_EQ(documents.size(), 1U);
    EXPECT_TRUE(std::filesystem::exists(m_server.documentFile(documents[0])));
    const std::string session = openPortalSession(client, m_server.user(), m_server.password(), answer.data);
    PortalBrowser browser(m_server);
    const auto opened = browser.Get(portalAddress(session, m_server.user(), m_server.password()));
    ASSERT_TRUE(opened);
    ASSERT_EQ(opened->status, 303);
    const auto page = browser.Get(opened->get_header_value("Location"), cookieOf(*opened));
    ASSERT_TRUE(page);
    EXPECT_THAT(page->body, HasSubstr("&lt;script&gt;"));
    EXPECT_THAT(page->body, Not(HasSubstr("<script")));
    EXPECT_THAT(page->get_header_value("Content-Security-Policy"), HasSubstr("default-src 'none'"));
    EXPECT_EQ(page->get_header_value("Referrer-Policy"), "no-referrer");
    EXPECT_THAT(opened->get_header_value("Set-Cookie"), HasSubstr("HttpOnly; SameSite=Strict; Secure"));
}

TEST_F(HostilePortal, the_portal_wants_the_digest_the_cookie_and_the_token)
{
    FrameClient client(m_server);
    const std::string id = uploadDocument(client, m_server.user(), m_server.password(), "text\n", "a.txt");
    const std::string session = openPortalSession(client, m_server.user(), m_server.password(), id);
    const std::string digest = appserver::controlDigest(session, m_server.user(), m_server.password());
    PortalBrowser browser(m_server);
    const std::string address = portalAddress(session, m_server.user(), m_server.password());
    const std::string start = "/portal?x=1&VR_SESSION_ID=";
    EXPECT_EQ(browser.Get(start + session + "&CTRL=" + std::string(32, 'A'))->status, 403);
    EXPECT_EQ(browser.Get(start + session)->status, 403);
    EXPECT_EQ(browser.Get(start + std::string(64, 'a') + "&CTRL=" + digest)->status, 403);
    EXPECT_EQ(browser.Head(address)->status, 403);
    const auto opened = browser.Get(address);
    ASSERT_EQ(opened->status, 303);
    EXPECT_EQ(browser.Get(address)->status, 403);

    const std::string path = opened->get_header_value("Location");
    const httplib::Headers headers = cookieOf(*opened);
    EXPECT_EQ(browser.Get(path)->status, 403);
    EXPECT_EQ(browser.Get(path + "/document")->status, 403);
    const std::string token = tokenOn(browser.Get(path, headers)->body);
    const std::string form = "&copies=1&paper=A4&colour=grey&duplex=one-sided&staple=none&note=";
    const auto post = [&](const httplib::Headers &sent, const std::string &body) {
        return browser.Post(path + "/confirm", sent, body, "application/x-www-form-urlencoded")->status;
    };
    EXPECT_EQ(post(headers, form), 403);
    EXPECT_EQ(post(headers, "token=" + std::string(64, '0') + form), 403);
    EXPECT_EQ(post({}, "token=" + token + form), 403);
    httplib::Headers foreign = headers;
    foreign.emplace("Sec-Fetch-Site", "cross-site");
    EXPECT_EQ(post(foreign, "token=" + token + form), 403);
    EXPECT_EQ(
        post(headers, "token=" + token + "&copies=1&paper=Poster&colour=grey&duplex=one-sided&staple=none"),
        422);
    EXPECT_EQ(post(headers, "token=" + token + form + std::string(20'000, 'x')), 413);
    EXPECT_EQ(m_server.documents()[0][1], "waiting");
    EXPECT_EQ(post(headers, "token=" + token + form), 303);
    EXPECT_EQ(m_server.documents()[0][1], "confirmed");
}

TEST_F(HostilePortal, no_secret_reaches_a_log)
{
    FrameClient client(m_server);
    const std::string id = uploadDocument(client, m_server.user(), m_server.password(), "text\n", "a.txt");
    const std::string session = openPortalSession(client, m_server.user(), m_server.password(), id);
    const std::string digest = appserver::controlDigest(session, m_server.user(), m_server.password());
    PortalBrowser browser(m_server);
    ASSERT_EQ(browser.Get(portalAddress(session, m_server.user(), m_server.password()))->status, 303);
    const std::string logs = m_server.accessLog() + m_server.log();
    EXPECT_THAT(logs, HasSubstr("GET \"/portal\" 303"));
    EXPECT_THAT(logs, Not(HasSubstr(session)));
    EXPECT_THAT(logs, Not(HasSubstr(digest)));
    EXPECT_THAT(logs, Not(HasSubstr(m_server.password())));
}
