// SPDX-License-Identifier: MIT
#include "tests/e2e/portal/WebDriver.h"
#include "tests/support/FrameClient.h"
#include "tests/support/PortalBrowser.h"
#include "tests/support/sample_documents.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

/// The portal in a real browser.
class PortalPageTest : public ::testing::Test
{
protected:
    /// The address that a client would open for a document of these contents.
    std::string addressOf(const std::string &contents, const std::string &fileName)
    {
        FrameClient client(m_server);
        const std::string id =
            uploadDocument(client, m_server.user(), m_server.password(), contents, fileName, m_nonce);
        return addressFor(client, id);
    }

    std::string addressFor(FrameClient &client, const std::string &documentId)
    {
        const std::string session =
            openPortalSession(client, m_server.user(), m_server.password(), documentId, ++m_nonce);
        ++m_nonce;
        return "https://127.0.0.1:" + std::to_string(m_server.portalPort()) +
               portalAddress(session, m_server.user(), m_server.password());
    }

    std::vector<std::string> onlyDocument() const
    {
        const auto documents = m_server.documents();
        return documents.size() == 1 ? documents.front() : std::vector<std::string>(13);
    }

    /// Pictures are kept where the variable says, to be looked at.
    static void keepPicture(WebDriver &browser, const std::string &name)
    {
        if (const char *folder = std::getenv("VAREK_PICTURES")) {
            browser.evaluate("document.activeElement.blur();"); // a caret blinks
            browser.screenshotWhenStill(std::filesystem::path(folder) / name);
        }
    }

    static void expectLabelledControls(WebDriver &browser)
    {
        const auto unlabelled = browser.evaluate(
            "return Array.from(document.querySelectorAll('input:not([type=hidden]), select, textarea'))"
            ".filter(e => !e.labels || e.labels.length == 0 || e.labels[0].textContent.trim() == '').map(e "
            "=> e.name);");
        EXPECT_TRUE(unlabelled.empty()) << unlabelled;
    }

    static void expectNoSidewaysScrolling(WebDriver &browser)
    {
        EXPECT_LE(browser.evaluate("return document.documentElement.scrollWidth;").get<int>(),
                  browser.evaluate("return window.innerWidth;").get<int>());
    }

    ServerProcess m_server;
    std::uint8_t m_nonce = 1;
};

using ::testing::HasSubstr;

TEST_F(PortalPageTest, a_person_changes_the_parameters_and_confirms)
{
    const std::string address = addressOf(samplePdf("Quarterly report"), "Quarterly report.pdf");
    WebDriver browser({});
    browser.open(address);
    EXPECT_THAT(browser.address(), ::testing::Not(HasSubstr("?")));
    EXPECT_EQ(browser.text("h1"), "Quarterly report.pdf");
    browser.await("object[type='application/pdf']");
    expectLabelledControls(browser);
    expectNoSidewaysScrolling(browser);

    browser.clear("#copies");
    browser.type("#copies", "3");
    browser.click("#paper option[value=A3]");
    browser.click("#colour-grey");
    browser.click("#duplex-long-edge");
    browser.click("#staple-corner");
    browser.type("#note", "Please bind it <at the left>, thank you");
    keepPicture(browser, "portal-form.png");
    browser.click("button[type=submit]");
    browser.await("#done");
    EXPECT_EQ(browser.text("h2"), "On its way to the printer");
    EXPECT_THAT(browser.text("dl"), HasSubstr("<at the left>"));
    keepPicture(browser, "portal-confirmed.png");

    const auto document = onlyDocument();
    const std::vector<std::string> chosen(document.begin() + 6, document.begin() + 11);
    EXPECT_THAT(chosen, ::testing::ElementsAre("3", "A3", "grey", "long-edge", "corner"));
    EXPECT_EQ(document[1], "confirmed");
    EXPECT_EQ(document[12], "Please bind it <at the left>, thank you");
}

TEST_F(PortalPageTest, the_keyboard_is_enough_and_scripts_are_not_needed)
{
    const std::string address = addressOf("Dear reader,\n\nthis is plain text.\n", "letter.txt");
    WebDriver::Settings settings;
    settings.runsScripts = false;
    WebDriver browser(settings);
    browser.open(address);
    // Whatever the caret's place: delete before and after it, then 2 and the tab key, to the paper.
    browser.type("#copies", "\uE003\uE017"
                            "2\uE004");
    browser.press("A5\uE004");           // to the colours
    browser.press("\uE014\uE004");       // right arrow: the next one
    browser.press("\uE014\uE004\uE004"); // sides, past stapling
    browser.press("by keyboard\uE004");
    browser.press("\uE007"); // enter on the button
    browser.await("#done");
    const auto document = onlyDocument();
    const std::vector<std::string> chosen(document.begin() + 6, document.begin() + 11);
    EXPECT_THAT(chosen, ::testing::ElementsAre("2", "A5", "grey", "long-edge", "none"));
    EXPECT_EQ(document[12], "by keyboard");
}

TEST_F(PortalPageTest, a_phone_shows_everything_without_scrolling_sideways)
{
    const std::string address =
        addressOf(samplePdf("On the phone"), "A file with a rather long name 2026-11.pdf");
    WebDriver browser({390, 844, true, true});
    browser.open(address);
    EXPECT_EQ(browser.evaluate("return window.innerWidth;").get<int>(), 390);
    expectNoSidewaysScrolling(browser);
    // A finger needs 44 pixels.
    const auto small = browser.evaluate("return Array.from(document.querySelectorAll('button, select, "
                                        "textarea, input[type=number], .pills label'))"
                                        ".filter(e => e.getBoundingClientRect().height < 44).length;");
    EXPECT_EQ(small.get<int>(), 0);
    keepPicture(browser, "portal-phone-top.png");
    browser.evaluate("window.scrollTo(0, 100000);");
    keepPicture(browser, "portal-phone-form.png");
    browser.click("button[type=submit]");
    browser.await("#done");
    EXPECT_EQ(onlyDocument()[1], "confirmed");
}

TEST_F(PortalPageTest, the_address_works_once)
{
    const std::string address = addressOf("text\n", "a.txt");
    WebDriver first({});
    first.open(address);
    EXPECT_EQ(first.count("form"), 1U);
    const std::string page = first.address();
    WebDriver second({});
    second.open(address);
    EXPECT_EQ(second.text("h1"), "This address does not work");
    // Nor does the page's own address help without the cookie.
    second.open(page);
    EXPECT_EQ(second.text("h1"), "This page is not open here");
    keepPicture(second, "portal-refused.png");
    first.open(page);
    EXPECT_EQ(first.count("form"), 1U);
}

TEST_F(PortalPageTest, a_session_without_a_document_says_so)
{
    FrameClient client(m_server);
    WebDriver browser({});
    browser.open(addressFor(client, "0123456789abcdef0123456789abcdef"));
    EXPECT_EQ(browser.text("h1"), "There is no document");
    browser.open(addressFor(client, ""));
    EXPECT_EQ(browser.text("h1"), "There is no document");
}

TEST_F(PortalPageTest, markup_in_names_and_documents_stays_text)
{
    const std::string script = "<script>document.title='taken over'</script>";
    const std::string address =
        addressOf(script + "\n", "\"><img src=x onerror=\"document.title='taken over'\">'.txt");
    WebDriver browser({});
    browser.open(address);
    EXPECT_EQ(browser.text("h1"), "\"><img src=x onerror=\"document.title='taken over'\">'.txt");
    EXPECT_THAT(browser.evaluate("return document.title;").get<std::string>(), HasSubstr("Varek Print"));
    EXPECT_EQ(browser.count("h1 img"), 0U);
    browser.open(browser.address() + "/document");
    EXPECT_THAT(browser.text("body"), HasSubstr("<script>"));
    EXPECT_THAT(browser.evaluate("return document.title;").get<std::string>(),
                ::testing::Not(HasSubstr("taken")));
}

TEST_F(PortalPageTest, a_picture_is_shown)
{
    // A PNG of one blue pixel.
    const unsigned char pixel[]{0x89, 0x50, 0x4E, 0x47, 0x0D, 0x0A, 0x1A, 0x0A, 0x00, 0x00, 0x00, 0x0D,
                                0x49, 0x48, 0x44, 0x52, 0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x01,
                                0x08, 0x02, 0x00, 0x00, 0x00, 0x90, 0x77, 0x53, 0xDE, 0x00, 0x00, 0x00,
                                0x0C, 0x49, 0x44, 0x41, 0x54, 0x08, 0xD7, 0x63, 0x60, 0x60, 0xF8, 0x0F,
                                0x00, 0x01, 0x04, 0x01, 0x00, 0x5F, 0xE5, 0xC3, 0x4B, 0x00, 0x00, 0x00,
                                0x00, 0x49, 0x45, 0x4E, 0x44, 0xAE, 0x42, 0x60, 0x82};
    const std::string address = addressOf(std::string(std::begin(pixel), std::end(pixel)), "pixel.png");
    WebDriver browser({});
    browser.open(address);
    browser.await(".picture img");
    EXPECT_EQ(browser.evaluate("return document.querySelector('.picture img').naturalWidth;").get<int>(), 1);
}

TEST_F(PortalPageTest, a_mistake_keeps_what_was_typed)
{
    const std::string address = addressOf("text\n", "a.txt");
    WebDriver browser({});
    browser.open(address);
    browser.evaluate("document.querySelector('form').noValidate = true;");
    browser.clear("#copies");
    browser.type("#copies", "1000");
    browser.click("#paper option[value=A5]");
    browser.type("#note", "kept");
    browser.click("button[type=submit]");
    browser.await(".problem");
    EXPECT_THAT(browser.text(".problem"), HasSubstr("1 to 99"));
    EXPECT_EQ(browser.evaluate("return document.querySelector('#note').value;"), "kept");
    EXPECT_EQ(browser.evaluate("return document.querySelector('#paper').value;"), "A5");
    EXPECT_EQ(onlyDocument()[1], "waiting");
}
