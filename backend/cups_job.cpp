// SPDX-License-Identifier: MIT
#include "backend/cups_job.h"

#include "backend/job_ticket.h"
#include "backend/whole_number.h"

#include <algorithm>

namespace backend {
namespace {

bool isNumber(std::string_view text)
{
    return !text.empty() && text.size() <= 10 &&
           text.find_first_not_of("0123456789") == std::string_view::npos;
}

unsigned parseCopies(std::string_view text)
{
    const auto copies = wholeNumber<unsigned>(text);
    return copies && *copies >= 1 && *copies <= maxCopies ? *copies : 1;
}

/// One option value: up to a blank, or up to the closing quote when it begins with one; a backslash takes the
/// next character as it stands.
std::string optionValue(std::string_view text)
{
    const bool quoted = !text.empty() && (text[0] == '"' || text[0] == '\'');
    const std::string_view ends = quoted ? text.substr(0, 1) : std::string_view(" \t\r\n");
    std::string value;
    for (std::size_t i = quoted ? 1 : 0; i < text.size() && ends.find(text[i]) == std::string_view::npos;
         ++i) {
        if (text[i] == '\\' && i + 1 < text.size()) {
            ++i;
        }
        value += text[i];
    }
    return value;
}

bool equalIgnoringCase(std::string_view left, std::string_view right)
{
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [lower](char a, char b) { return lower(a) == lower(b); });
}

} // namespace

std::optional<CupsJob> parseJob(std::span<const std::string> arguments)
{
    if (arguments.size() < 5 || !isNumber(arguments[0])) {
        return std::nullopt;
    }
    CupsJob job;
    job.id = arguments[0];
    job.user = arguments[1];
    job.title = arguments[2];
    job.copies = parseCopies(arguments[3]);
    job.host = originatingHost(arguments[4]);
    job.files.assign(arguments.begin() + 5, arguments.end());
    return job;
}

std::string originatingHost(std::string_view options)
{
    constexpr std::string_view name = "job-originating-host-name=";
    std::string host;
    for (std::size_t at = options.find(name); at != std::string_view::npos; at = options.find(name, at + 1)) {
        host = optionValue(options.substr(at + name.size()));
        if (!isThisComputer(host)) {
            return host.empty() ? "?" : host;
        }
    }
    return host;
}

bool isThisComputer(std::string_view host)
{
    constexpr std::string_view names[] = {"localhost", "127.0.0.1", "::1", "[::1]", "[v1.::1]"};
    return std::any_of(std::begin(names), std::end(names),
                       [host](std::string_view name) { return equalIgnoringCase(host, name); });
}

} // namespace backend
