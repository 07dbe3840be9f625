// SPDX-License-Identifier: MIT
#include "backend/job_ticket.h"

#include "backend/value_cleaning.h"
#include "backend/whole_number.h"

namespace backend {
namespace {

constexpr std::string_view header = "varek-ticket 1\n";

std::string line(std::string_view key, std::string_view value)
{
    return std::string(key) + "=" + std::string(value) + "\n";
}

/// Cuts the line "key=value\n" off the text; nothing when the text begins with another line.
std::optional<std::string_view> takeValue(std::string_view &text, std::string_view key)
{
    if (!text.starts_with(key) || text.size() <= key.size() || text[key.size()] != '=') {
        return std::nullopt;
    }
    const std::size_t end = text.find('\n');
    if (end == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view value = text.substr(key.size() + 1, end - key.size() - 1);
    text.remove_prefix(end + 1);
    return value;
}

bool takeText(std::string_view &text, std::string_view key, std::string &target)
{
    const auto value = takeValue(text, key);
    if (value) {
        target = cleanValue(*value);
    }
    return value.has_value();
}

template <typename Number>
bool takeNumber(std::string_view &text, std::string_view key, Number &target, Number smallest, Number largest)
{
    const auto value = takeValue(text, key);
    const auto number = value ? wholeNumber<Number>(*value) : std::nullopt;
    if (!number || *number < smallest || *number > largest) {
        return false;
    }
    target = *number;
    return true;
}

} // namespace

std::string formatTicket(const JobTicket &ticket)
{
    return std::string(header) + line("queue", cleanValue(ticket.queue)) +
           line("title", cleanValue(ticket.title)) + line("host", cleanValue(ticket.host)) +
           line("user", cleanValue(ticket.user)) + line("copies", std::to_string(ticket.copies)) +
           line("time", std::to_string(ticket.printedAt));
}

std::optional<JobTicket> parseTicket(std::string_view text)
{
    if (text.size() > maxTicketBytes || !text.starts_with(header)) {
        return std::nullopt;
    }
    text.remove_prefix(header.size());
    JobTicket ticket;
    const bool complete = takeText(text, "queue", ticket.queue) && takeText(text, "title", ticket.title) &&
                          takeText(text, "host", ticket.host) && takeText(text, "user", ticket.user) &&
                          takeNumber(text, "copies", ticket.copies, 1U, maxCopies) &&
                          takeNumber(text, "time", ticket.printedAt, std::int64_t{0}, INT64_MAX);
    if (!complete || !text.empty() || ticket.queue.empty()) {
        return std::nullopt;
    }
    return ticket;
}

} // namespace backend
