// SPDX-License-Identifier: MIT
#include "tests/support/FrameClient.h"
#include "tests/support/PortalBrowser.h"
#include "tests/support/file_bytes.h"
#include "tests/support/sample_documents.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

namespace {

std::string sampleDocument(const char *name)
{
    return fileBytes(std::string(VAREK_SOURCE_DIR "/tests/data/documents/") + name);
}

/// The portal's answers as a browser gets them.
class PortalHttp : public ::testing::Test
{
protected:
    PortalHttp() : m_client(m_server), m_browser(m_server) {}

    std::string upload(const std::string &contents, const std::string &fileName = "document")
    {
        return uploadDocument(m_client, m_server.user(), m_server.password(), contents, fileName, ++m_nonce);
    }

    /// Path and query of the address that a client opens for the document.
    std::string address(const std::string &id)
    {
        const std::string session =
            openPortalSession(m_client, m_server.user(), m_server.password(), id, ++m_nonce);
        return portalAddress(session, m_server.user(), m_server.password());
    }

    /// Opens the page of a document; its path. The cookie is then in m_cookie.
    template <typename Browser>
    std::string openPage(Browser &browser, const std::string &id)
    {
        const auto opened = browser.Get(address(id));
        m_cookie = cookieOf(*opened);
        return opened->get_header_value("Location");
    }

    httplib::Response get(const std::string &path) { return *m_browser.Get(path, m_cookie); }

    httplib::Response post(const std::string &path, const std::string &form)
    {
        return *m_browser.Post(path, m_cookie, form, "application/x-www-form-urlencoded");
    }

    /// As an administrator who knows SQL would.
    void executeSql(const std::string &sql)
    {
        sqlite3 *database = nullptr;
        ASSERT_EQ(sqlite3_open((m_server.data() / "vrserver.db").c_str(), &database), SQLITE_OK);
        EXPECT_EQ(sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
            << sqlite3_errmsg(database);
        sqlite3_close(database);
    }

    ServerProcess m_server;
    FrameClient m_client;
    PortalBrowser m_browser;
    httplib::Headers m_cookie;
    std::uint8_t m_nonce = 0;
};

} // namespace

TEST_F(PortalHttp, every_document_comes_as_what_it_is_and_runs_nothing)
{
    struct Case
    {
        std::string contents;
        std::string type;
        std::string disposition;
        std::string policy;
    };

    std::string longText(65535, 'x');
    longText += "é\n"; // the sample that tells the encoding ends in the middle of the letter
    const Case cases[]{
        {samplePdf("x"), "application/pdf", "inline; filename=\"document.pdf\"", "object-src 'self'"},
        {sampleDocument("letter.ps"), "application/postscript", "attachment; filename=\"document.ps\"",
         "sandbox"},
        {sampleDocument("image.png"), "image/png", "inline; filename=\"document.png\"", "sandbox"},
        {sampleDocument("photo.jpg"), "image/jpeg", "inline; filename=\"document.jpg\"", "sandbox"},
        {"Grüße\n", "text/plain; charset=utf-8", "inline; filename=\"document.txt\"", "sandbox"},
        {longText, "text/plain; charset=utf-8", "inline; filename=\"document.txt\"", "sandbox"},
        {"Gr\xFC\xDF"
         "e\n",
         "text/plain; charset=windows-1252", "inline; filename=\"document.txt\"", "sandbox"},
    };
    for (const Case &document : cases) {
        const auto answer = get(openPage(m_browser, upload(document.contents)) + "/document");
        EXPECT_EQ(answer.status, 200) << document.type;
        EXPECT_TRUE(answer.body == document.contents) << document.type;
        EXPECT_EQ(answer.get_header_value("Content-Type"), document.type);
        EXPECT_EQ(answer.get_header_value("Content-Disposition"), document.disposition);
        EXPECT_THAT(answer.get_header_value("Content-Security-Policy"), HasSubstr(document.policy));
        EXPECT_EQ(answer.get_header_value("X-Frame-Options"), "SAMEORIGIN");
        EXPECT_EQ(answer.get_header_value("X-Content-Type-Options"), "nosniff");
        EXPECT_EQ(answer.get_header_value("Cache-Control"), "no-store");
    }
}

TEST_F(PortalHttp, each_format_has_its_own_way_to_be_looked_at)
{
    const auto pageOf = [this](const std::string &contents) {
        return get(openPage(m_browser, upload(contents))).body;
    };
    EXPECT_THAT(pageOf(samplePdf("x")), HasSubstr("<object class=\"view\" type=\"application/pdf\""));
    EXPECT_THAT(pageOf(sampleDocument("photo.jpg")), HasSubstr("<div class=\"view picture\"><img "));
    EXPECT_THAT(pageOf(sampleDocument("image.png")), HasSubstr("<div class=\"view picture\"><img "));
    EXPECT_THAT(pageOf("text\n"), HasSubstr("<iframe class=\"view\""));
    EXPECT_THAT(pageOf(sampleDocument("letter.ps")), HasSubstr("Browsers show no PostScript."));
}

TEST_F(PortalHttp, help_style_and_mark_are_for_everybody)
{
    for (const char *path : {"/", "/help"}) {
        const auto help = m_browser.Get(path);
        EXPECT_EQ(help->status, 200);
        EXPECT_THAT(help->body, HasSubstr("Print to the Varek queue"));
        EXPECT_EQ(help->get_header_value("X-Frame-Options"), "DENY");
    }
    const auto style = m_browser.Get("/style.css");
    EXPECT_EQ(style->get_header_value("Content-Type"), "text/css; charset=utf-8");
    EXPECT_EQ(style->get_header_value("Cache-Control"), "max-age=3600");
    const auto mark = m_browser.Get("/mark.svg");
    EXPECT_EQ(mark->get_header_value("Content-Type"), "image/svg+xml");
    EXPECT_THAT(mark->body, StartsWith("<svg"));
}

TEST_F(PortalHttp, the_cookie_is_found_among_others_and_belongs_to_one_page)
{
    const std::string first = openPage(m_browser, upload("first\n", "first.txt"));
    const httplib::Headers firstCookie = m_cookie;
    const std::string second = openPage(m_browser, upload("second\n", "second.txt"));
    EXPECT_EQ(m_browser.Get(first, m_cookie)->status, 403);
    const std::string both = "other=1; " + m_cookie.find("Cookie")->second + ";x=y;";
    EXPECT_THAT(m_browser.Get(second, {{"Cookie", both}})->body, HasSubstr("second.txt"));
    for (const std::string cookie : {"", ";", "__Secure-job", "__Secure-job=", "other=1; job=2", "; ;;"}) {
        EXPECT_EQ(m_browser.Get(second, {{"Cookie", cookie}})->status, 403) << cookie;
    }
    EXPECT_THAT(m_browser.Get(first, firstCookie)->body, HasSubstr("first.txt"));
}

TEST_F(PortalHttp, over_plain_http_the_cookie_has_a_name_that_browsers_take_there)
{
    httplib::Client plain("127.0.0.1", m_server.plainPortalPort());
    const auto opened = plain.Get(address(upload("text\n", "plain.txt")));
    ASSERT_EQ(opened->status, 303);
    const std::string cookie = opened->get_header_value("Set-Cookie");
    EXPECT_THAT(cookie, StartsWith("job="));
    EXPECT_THAT(cookie, HasSubstr("; HttpOnly; SameSite=Strict"));
    EXPECT_THAT(cookie, Not(HasSubstr("Secure")));
    const auto page = plain.Get(opened->get_header_value("Location"), cookieOf(*opened));
    EXPECT_THAT(page->body, HasSubstr("plain.txt"));
}

TEST_F(PortalHttp, paths_beside_a_page_lead_nowhere)
{
    const std::string page = openPage(m_browser, upload("text\n"));
    ASSERT_EQ(get(page).status, 200);
    for (const std::string &path :
         {page + "/", page + "/confirm", page + "/document/x", page + "x", page.substr(0, page.size() - 1),
          std::string("/job/") + std::string(32, 'G'), std::string("/job/"), std::string("/elsewhere")}) {
        EXPECT_EQ(get(path).status, 404) << path;
    }
    for (const std::string &path :
         {page, page + "/", page + "/document", page + "confirm", std::string("/job/x/confirm"),
          "/job/" + std::string(32, 'G') + "/confirm", std::string("/portal")}) {
        EXPECT_EQ(post(path, "token=x").status, 404) << path;
    }
    EXPECT_EQ(get("/job/" + std::string(32, '0')).status, 403);
}

TEST_F(PortalHttp, a_mistake_in_the_form_keeps_everything_else)
{
    const std::string page = openPage(m_browser, upload("text\n"));
    const std::string token = "token=" + tokenOn(get(page).body);
    const auto answer =
        post(page + "/confirm", token + "&copies=0&paper=A3&colour=colour&duplex=long-edge&staple=none"
                                        "&note=for+the+%3Cboard%3E");
    EXPECT_EQ(answer.status, 422);
    EXPECT_THAT(answer.body, ::testing::ContainsRegex("value=\"A3\"[^>]* selected"));
    EXPECT_THAT(answer.body, HasSubstr("for the &lt;board&gt;"));
    EXPECT_EQ(m_server.documents().at(0).at(1), "waiting");
    EXPECT_EQ(
        post(page + "/confirm", token + "&copies=2&paper=A3&colour=colour&duplex=long-edge&staple=none&note=")
            .status,
        303);
    const auto document = m_server.documents().at(0);
    EXPECT_EQ(document.at(1), "confirmed");
    EXPECT_EQ(document.at(6), "2");
    EXPECT_EQ(document.at(7), "A3");
}

TEST_F(PortalHttp, a_second_confirmation_changes_nothing)
{
    const std::string page = openPage(m_browser, upload("text\n"));
    const std::string token = "token=" + tokenOn(get(page).body);
    const std::string rest = "&paper=A4&colour=grey&duplex=one-sided&staple=none&note=";
    EXPECT_EQ(post(page + "/confirm", token + "&copies=2" + rest).status, 303);
    EXPECT_EQ(post(page + "/confirm", token + "&copies=3" + rest).status, 303);
    EXPECT_EQ(m_server.documents().at(0).at(6), "2");
}

TEST_F(PortalHttp, a_form_that_is_no_form_is_refused)
{
    const std::string page = openPage(m_browser, upload("text\n"));
    const std::string token = tokenOn(get(page).body);
    for (const std::string &form :
         {std::string(), std::string("%"), "token=" + token + "&copies=%ZZ", "TOKEN=" + token}) {
        EXPECT_EQ(post(page + "/confirm", form).status, 403) << form;
    }
    EXPECT_EQ(m_server.documents().at(0).at(1), "waiting");
}

TEST_F(PortalHttp, a_document_that_was_deleted_meanwhile_is_said_to_be_missing)
{
    const std::string page = openPage(m_browser, upload("text\n"));
    const std::string token = "token=" + tokenOn(get(page).body);
    executeSql("DELETE FROM documents");
    EXPECT_THAT(get(page).body, HasSubstr("There is no document"));
    EXPECT_THAT(get(page + "/document").body, HasSubstr("There is no document"));
    const auto answer =
        post(page + "/confirm", token + "&copies=1&paper=A4&colour=grey&duplex=one-sided&staple=none&note=");
    EXPECT_EQ(answer.status, 303);
    EXPECT_EQ(answer.get_header_value("Location"), page);
}

TEST_F(PortalHttp, nobody_sees_a_document_of_somebody_else)
{
    m_server.addUser("eve", "secret");
    const std::string id = upload("text\n", "private.txt");
    const std::string session = openPortalSession(m_client, "eve", "secret", id, ++m_nonce);
    const auto opened = m_browser.Get(portalAddress(session, "eve", "secret"));
    ASSERT_EQ(opened->status, 303);
    m_cookie = cookieOf(*opened);
    const auto page = get(opened->get_header_value("Location"));
    EXPECT_THAT(page.body, HasSubstr("There is no document"));
    EXPECT_THAT(page.body, Not(HasSubstr("private.txt")));
}

TEST_F(PortalHttp, a_file_that_is_gone_is_an_error_that_tells_strangers_nothing)
{
    const std::string page = openPage(m_browser, upload("text\n"));
    std::filesystem::remove_all(m_server.data() / "documents");
    const auto answer = get(page + "/document");
    EXPECT_EQ(answer.status, 500);
    EXPECT_EQ(answer.body, "");
    EXPECT_THAT(m_server.log(), HasSubstr("request failed: cannot open "));
    EXPECT_EQ(get(page).status, 200) << "the page itself still works";
}
