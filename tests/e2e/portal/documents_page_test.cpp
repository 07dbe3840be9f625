// SPDX-License-Identifier: MIT
#include "tests/e2e/portal/WebDriver.h"
#include "tests/support/FrameClient.h"
#include "tests/support/PortalBrowser.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

namespace {

using ::testing::HasSubstr;

/// A person who comes to the portal later: the list of documents that wait.
class DocumentsPageTest : public ::testing::Test
{
protected:
    void upload(const std::string &fileName)
    {
        FrameClient client(m_server);
        (void)uploadDocument(client, m_server.user(), m_server.password(), "text of " + fileName, fileName,
                             ++m_nonce);
    }

    [[nodiscard]] std::string portal() const
    {
        return "https://127.0.0.1:" + std::to_string(m_server.portalPort());
    }

    void logIn(WebDriver &browser, const std::string &password)
    {
        browser.open(portal() + "/documents");
        browser.type("#user", m_server.user() + "\uE004");
        browser.press(password + "\uE007");
    }

    /// Pictures are kept where the variable says, to be looked at.
    static void keepPicture(WebDriver &browser, const std::string &name)
    {
        if (const char *folder = std::getenv("VAREK_PICTURES")) {
            browser.screenshotWhenStill(std::filesystem::path(folder) / name);
        }
    }

    ServerProcess m_server;
    std::uint8_t m_nonce = 0;
};

/// The documents page over HTTP, as something else than a browser could send it.
class DocumentsForms : public DocumentsPageTest
{
protected:
    DocumentsForms() : m_site(m_server) {}

    httplib::Result post(const std::string &path, const std::string &body,
                         const httplib::Headers &headers = {})
    {
        return m_site.Post(path, headers, body, "application/x-www-form-urlencoded");
    }

    [[nodiscard]] std::string credentials(const std::string &password) const
    {
        return "user=" + m_server.user() + "&password=" + password;
    }

    httplib::Headers visitor() { return cookieOf(*post("/documents", credentials(m_server.password()))); }

    static std::string valueAfter(const std::string &page, const std::string &marker)
    {
        const auto at = page.find(marker);
        return at == std::string::npos
                   ? ""
                   : page.substr(at + marker.size(), page.find('"', at + marker.size()) - at - marker.size());
    }

    PortalBrowser m_site;
};

TEST_F(DocumentsPageTest, a_person_logs_in_chooses_for_a_document_and_logs_out)
{
    upload("First.txt");
    upload("Second <b>.txt");
    WebDriver browser({});
    logIn(browser, m_server.password());
    browser.await(".list");
    EXPECT_EQ(browser.count(".list li"), 2U);
    EXPECT_EQ(browser.text(".list li h2"), "Second <b>.txt");
    keepPicture(browser, "portal-documents.png");
    browser.click(".list li:last-child button");
    browser.await("#ask");
    EXPECT_EQ(browser.text("h1"), "First.txt");
    browser.click("button[type=submit]");
    browser.await("#done");

    browser.open(portal() + "/documents");
    EXPECT_EQ(browser.count(".list li"), 1U);
    browser.click(".quiet");
    browser.await("#password");
    browser.open(portal() + "/documents");
    EXPECT_EQ(browser.count(".list"), 0U);
}

TEST_F(DocumentsPageTest, a_wrong_password_says_so_and_keeps_the_name)
{
    WebDriver browser({});
    logIn(browser, "wrong");
    browser.await(".problem");
    EXPECT_THAT(browser.text(".problem"), HasSubstr("wrong"));
    EXPECT_EQ(browser.evaluate("return document.querySelector('#user').value;"), m_server.user());
    EXPECT_EQ(browser.evaluate("return document.querySelector('#password').value;"), "");
    keepPicture(browser, "portal-log-in.png");
}

TEST_F(DocumentsPageTest, nobody_waits_says_so)
{
    WebDriver browser({});
    logIn(browser, m_server.password());
    browser.await(".none");
    EXPECT_EQ(browser.text(".none"), "No document waits for you.");
}

TEST_F(DocumentsForms, the_cookie_is_for_this_page_over_tls_alone)
{
    const auto entered = post("/documents", credentials(m_server.password()));
    ASSERT_EQ(entered->status, 303);
    EXPECT_THAT(entered->get_header_value("Set-Cookie"),
                HasSubstr("; Path=/documents; HttpOnly; SameSite=Strict; Secure"));
}

TEST_F(DocumentsForms, too_many_failures_are_refused_even_with_the_right_password)
{
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(post("/documents", credentials("wrong"))->status, 403);
    }
    const auto refused = post("/documents", credentials(m_server.password()));
    EXPECT_EQ(refused->status, 429);
    EXPECT_THAT(refused->body, HasSubstr("too many failed attempts"));
}

TEST_F(DocumentsForms, a_form_of_another_site_does_nothing)
{
    EXPECT_EQ(
        post("/documents", credentials(m_server.password()), {{"Sec-Fetch-Site", "cross-site"}})->status,
        403);
    upload("a.txt");
    httplib::Headers headers = visitor();
    const std::string page = m_site.Get("/documents", headers)->body;
    const std::string token = "token=" + valueAfter(page, "name=\"token\" value=\"");
    const std::string form = token + "&document=" + valueAfter(page, "name=\"document\" value=\"");
    EXPECT_EQ(post("/documents/open", form)->get_header_value("Location"), "/documents");
    EXPECT_EQ(post("/documents/open", "x" + form, headers)->get_header_value("Location"), "/documents");
    httplib::Headers foreign = headers;
    foreign.emplace("Sec-Fetch-Site", "cross-site");
    EXPECT_EQ(post("/documents/open", form, foreign)->get_header_value("Location"), "/documents");
    EXPECT_EQ(post("/documents/open", "%zz", headers)->get_header_value("Location"), "/documents");
    EXPECT_EQ(post("/documents/leave", token, foreign)->get_header_value("Set-Cookie"), "");
    EXPECT_THAT(post("/documents/open", form, headers)->get_header_value("Location"),
                ::testing::StartsWith("/job/"));
}

TEST_F(DocumentsForms, a_document_of_somebody_else_stays_closed)
{
    upload("a.txt");
    const std::string page = m_site.Get("/documents", visitor())->body;
    const std::string document = valueAfter(page, "name=\"document\" value=\"");
    m_server.addUser("eve", "other");
    const auto entered = post("/documents", "user=eve&password=other");
    ASSERT_EQ(entered->status, 303);
    const std::string cookie = entered->get_header_value("Set-Cookie");
    const httplib::Headers eve{{"Cookie", cookie.substr(0, cookie.find(';'))}};
    const std::string list = m_site.Get("/documents", eve)->body;
    EXPECT_THAT(list, HasSubstr("No document waits"));
    const std::string token = valueAfter(list, "name=\"token\" value=\"");
    EXPECT_EQ(post("/documents/open", "token=" + token + "&document=" + document, eve)
                  ->get_header_value("Location"),
              "/documents");
}

} // namespace
