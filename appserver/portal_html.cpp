// SPDX-License-Identifier: MIT
#include "appserver/portal_html.h"

#include "appserver/DocumentStore.h"
#include "appserver/ServerConfiguration.h"
#include "appserver/html_text.h"

#include <array>
#include <ctime>

namespace appserver {

namespace {

std::string dateOf(std::int64_t seconds)
{
    const std::time_t time = seconds;
    std::tm parts{};
    ::localtime_r(&time, &parts);
    std::array<char, 64> text{};
    return {text.data(), std::strftime(text.data(), text.size(), "%e %B %Y, %H:%M", &parts)};
}

} // namespace

std::string pageAround(const PortalSettings &settings, std::string_view title, std::string_view body)
{
    std::string html = R"(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<meta name="color-scheme" content="light dark">
<title>)";
    html += escapedHtml(title) + " · " + escapedHtml(settings.title);
    html += R"(</title>
<link rel="stylesheet" href="/style.css">
<link rel="icon" href="/mark.svg" type="image/svg+xml">
</head>
<body>
<header class="bar"><img src="/mark.svg" alt="" width="28" height="28"><span>)";
    html += escapedHtml(settings.title);
    html += "</span></header>\n<main>\n";
    html += body;
    html += "</main>\n</body>\n</html>\n";
    return html;
}

std::string attribute(std::string_view name, std::string_view value)
{
    return ' ' + std::string(name) + "=\"" + escapedHtml(value) + '"';
}

std::string shownName(const Document &document)
{
    return document.fileName.empty() ? "Untitled document" : document.fileName;
}

std::string factsOf(const Document &document)
{
    return "<p class=\"facts\">" + escapedHtml(formatName(document.format)) + " · " +
           humanBytes(document.bytes) + " · received " + escapedHtml(dateOf(document.createdAt)) + "</p>";
}

std::string problemBox(std::string_view problem)
{
    return problem.empty() ? std::string()
                           : "<p class=\"problem\" role=\"alert\">" + escapedHtml(problem) + "</p>\n";
}

} // namespace appserver
