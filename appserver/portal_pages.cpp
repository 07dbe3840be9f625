// SPDX-License-Identifier: MIT
#include "appserver/portal_pages.h"

#include "appserver/finishing.h"
#include "appserver/html_text.h"
#include "appserver/portal_html.h"

#include <utility>

namespace appserver {

namespace {

std::string documentPath(const PortalPage &page)
{
    return "/job/" + page.id + "/document";
}

std::string openLink(const PortalPage &page, std::string_view label)
{
    return "<a class=\"open\"" + attribute("href", documentPath(page)) +
           " target=\"_blank\" rel=\"noopener\">" + std::string(label) + "</a>";
}

std::string viewerOf(const PortalPage &page, const Document &document)
{
    const std::string path = documentPath(page);
    const std::string label = "The document " + shownName(document);
    switch (document.format) {
    case DocumentFormat::pdf:
        return "<object class=\"view\" type=\"application/pdf\"" +
               attribute("data", path + "#view=FitH&navpanes=0") + attribute("aria-label", label) +
               "><p class=\"hint\">This browser shows no PDF inside a page. " +
               openLink(page, "Open the document") + "</p></object>";
    case DocumentFormat::png:
    case DocumentFormat::jpeg:
        return "<div class=\"view picture\"><img" + attribute("src", path) + attribute("alt", label) +
               "></div>";
    case DocumentFormat::text:
        return "<iframe class=\"view\"" + attribute("src", path) + attribute("title", label) + "></iframe>";
    case DocumentFormat::postScript:
        break;
    }
    return "<p class=\"view hint\">Browsers show no PostScript. The document was received whole and prints "
           "as it is. " +
           openLink(page, "Save the document") + "</p>";
}

std::string documentCard(const PortalPage &page, const Document &document)
{
    std::string html = "<section class=\"card document\" aria-labelledby=\"name\">\n<div "
                       "class=\"head\"><div><h1 id=\"name\">";
    html += escapedHtml(shownName(document));
    html += "</h1>\n" + factsOf(document) + "</div>\n";
    html += openLink(page, "Open in a tab") + "</div>\n" + viewerOf(page, document) + "\n</section>\n";
    return html;
}

std::string pills(std::string_view legend, std::string_view name, std::span<const ChoiceOption> options,
                  std::string_view chosen)
{
    std::string html = "<fieldset><legend>" + std::string(legend) + "</legend><div class=\"pills\">";
    for (const ChoiceOption &option : options) {
        const std::string id = std::string(name) + '-' + std::string(option.value);
        html += "<div><input type=\"radio\"" + attribute("id", id) + attribute("name", name) +
                attribute("value", option.value) + (option.value == chosen ? " checked" : "") + "><label" +
                attribute("for", id) + '>' + std::string(option.label) + "</label></div>";
    }
    return html + "</div></fieldset>\n";
}

std::string paperField(const PortalSettings &settings, const PrintChoices &choices)
{
    std::string html =
        "<div class=\"field\"><label for=\"paper\">Paper</label><select id=\"paper\" name=\"paper\">";
    for (const std::string &paper : settings.papers) {
        html += "<option" + attribute("value", paper) + (paper == choices.paper ? " selected>" : ">") +
                escapedHtml(paper) + "</option>";
    }
    return html + "</select></div>\n";
}

std::string copiesField(const PortalSettings &settings, const PrintChoices &choices)
{
    return "<div class=\"field\"><label for=\"copies\">Copies</label><input id=\"copies\" name=\"copies\" "
           "type=\"number\" "
           "inputmode=\"numeric\" min=\"1\" required" +
           attribute("max", std::to_string(settings.copies)) +
           attribute("value", std::to_string(choices.copies)) + "></div>\n";
}

std::string formCard(const PortalSettings &settings, const PortalPage &page, const PrintChoices &choices,
                     std::string_view problem)
{
    std::string html =
        "<section class=\"card\" aria-labelledby=\"ask\">\n<h2 id=\"ask\">How shall it be printed?</h2>\n";
    html += problemBox(problem);
    html += "<form method=\"post\"" + attribute("action", "/job/" + page.id + "/confirm") +
            "><input type=\"hidden\" name=\"token\"" + attribute("value", page.formToken) +
            ">\n<div class=\"pair\">\n" + copiesField(settings, choices) + paperField(settings, choices) +
            "</div>\n";
    if (settings.colour) {
        html += pills("Colour", "colour", colourOptions(), choices.colour);
    }
    if (settings.duplex) {
        html += pills("Sides", "duplex", duplexOptions(), choices.duplex);
    }
    if (settings.staple) {
        html += pills("Stapling", "staple", stapleOptions(), choices.staple);
    }
    html += "<div class=\"field\"><label for=\"note\">Note for the print room <small>optional</small></label>"
            "<textarea id=\"note\" name=\"note\" rows=\"3\"" +
            attribute("maxlength", std::to_string(noteMaxLength)) + ">\n" + escapedHtml(choices.note) +
            "</textarea></div>\n<button type=\"submit\">Print</button>\n</form>\n</section>\n";
    return html;
}

std::string summaryRow(std::string_view name, std::string_view value)
{
    return "<dt>" + std::string(name) + "</dt><dd>" + escapedHtml(value) + "</dd>\n";
}

std::string confirmedCard(const Document &document)
{
    const PrintChoices &choices = document.choices;
    std::string html =
        "<section class=\"card\" aria-labelledby=\"done\">\n<p class=\"badge\" aria-hidden=\"true\">✓</p>"
        "<h2 id=\"done\">On its way to the printer</h2>\n<p>You can close this page.</p>\n<dl>\n";
    html += summaryRow("Copies", std::to_string(choices.copies)) + summaryRow("Paper", choices.paper) +
            summaryRow("Colour", labelOf(colourOptions(), choices.colour)) +
            summaryRow("Sides", labelOf(duplexOptions(), choices.duplex)) +
            summaryRow("Stapling", labelOf(stapleOptions(), choices.staple));
    if (!choices.note.empty()) {
        html += summaryRow("Note", choices.note);
    }
    return html + "</dl>\n</section>\n";
}

std::string releasedCard(const Document &document)
{
    return "<section class=\"card\" aria-labelledby=\"done\">\n<p class=\"badge\" aria-hidden=\"true\">✓</p>"
           "<h2 id=\"done\">Handed on</h2>\n<p>The document went to the service <strong>" +
           escapedHtml(document.tunnelService.empty() ? document.tunnelProfile : document.tunnelService) +
           "</strong>. There is nothing to choose.</p>\n</section>\n";
}

std::string pageWith(const PortalSettings &settings, const PortalPage &page, const Document &document,
                     const std::string &card)
{
    return pageAround(settings, shownName(document),
                      "<div class=\"columns\">\n" + documentCard(page, document) + card + "</div>\n");
}

} // namespace

std::string documentPage(const PortalSettings &settings, const PortalPage &page, const Document &document)
{
    if (document.state == "confirmed") {
        return pageWith(settings, page, document, confirmedCard(document));
    }
    if (document.state == "released") {
        return pageWith(settings, page, document, releasedCard(document));
    }
    return pageWith(settings, page, document, formCard(settings, page, defaultChoices(settings), {}));
}

std::string correctionPage(const PortalSettings &settings, const PortalPage &page, const Document &document,
                           const PrintChoices &choices, std::string_view problem)
{
    return pageWith(settings, page, document, formCard(settings, page, choices, problem));
}

std::string messagePage(const PortalSettings &settings, std::string_view heading, std::string_view sentences)
{
    return pageAround(settings, heading,
                      "<section class=\"card message\"><h1>" + escapedHtml(heading) + "</h1>\n" +
                          std::string(sentences) + "</section>\n");
}

} // namespace appserver
