// SPDX-License-Identifier: MIT
#include "appserver/portal_documents_pages.h"

#include "appserver/html_text.h"
#include "appserver/portal_html.h"

namespace appserver {

namespace {

std::string formTo(std::string_view path, const PortalVisitor &visitor)
{
    return "<form method=\"post\"" + attribute("action", path) + "><input type=\"hidden\" name=\"token\"" +
           attribute("value", visitor.formToken) + ">";
}

std::string documentRow(const PortalVisitor &visitor, const Document &document)
{
    return "<li><div><h2>" + escapedHtml(shownName(document)) + "</h2>\n" + factsOf(document) + "</div>" +
           formTo("/documents/open", visitor) + "<input type=\"hidden\" name=\"document\"" +
           attribute("value", document.id) + "><button type=\"submit\"" +
           attribute("aria-label", "Choose how " + shownName(document) + " is printed") +
           ">Choose</button></form></li>\n";
}

std::string listOf(const PortalVisitor &visitor, const std::vector<Document> &documents)
{
    if (documents.empty()) {
        return "<p class=\"none\">No document waits for you.</p>\n";
    }
    std::string html = "<ul class=\"list\">\n";
    for (const Document &document : documents) {
        html += documentRow(visitor, document);
    }
    return html + "</ul>\n";
}

} // namespace

std::string loginPage(const PortalSettings &settings, std::string_view name, std::string_view problem)
{
    std::string html = "<section class=\"card message\"><h1>Your documents</h1>\n"
                       "<p>Log in to choose how documents that wait for you are printed.</p>\n";
    html += problemBox(problem);
    html += "<form method=\"post\" action=\"/documents\">\n<div class=\"field\"><label for=\"user\">User "
            "name</label><input id=\"user\" name=\"user\" type=\"text\" autocomplete=\"username\" "
            "autocapitalize=\"none\" spellcheck=\"false\" required" +
            attribute("value", name) +
            "></div>\n<div class=\"field\"><label for=\"password\">Password</label><input id=\"password\" "
            "name=\"password\" type=\"password\" autocomplete=\"current-password\" required></div>\n"
            "<button type=\"submit\">Log in</button>\n</form></section>\n";
    return pageAround(settings, "Your documents", html);
}

std::string documentsPage(const PortalSettings &settings, const PortalVisitor &visitor,
                          const std::vector<Document> &documents)
{
    return pageAround(settings, "Your documents",
                      "<section class=\"card listing\">\n<div class=\"head\"><div><h1>Your documents</h1>\n"
                      "<p class=\"facts\">" +
                          escapedHtml(visitor.name) + "</p></div>\n" + formTo("/documents/leave", visitor) +
                          "<button class=\"quiet\" type=\"submit\">Log out</button></form></div>\n" +
                          listOf(visitor, documents) + "</section>\n");
}

} // namespace appserver
