// SPDX-License-Identifier: MIT
#include "backend/cups_job.h"
#include "backend/job_ticket.h"
#include "backend/recipient.h"
#include "backend/spool_names.h"
#include "backend/value_cleaning.h"
#include "tests/fuzz/fuzz_entry.h"

#include <string>
#include <string_view>
#include <vector>

namespace {

void checkClean(const std::string &value)
{
    ensure(value.size() <= backend::maxValueBytes && !value.starts_with("-"));
    ensure(value.find_first_of("\"|\n\r\t") == std::string::npos);
    ensure(backend::cleanValue(value) == value);
}

void checkTicket(std::string_view text)
{
    if (const auto ticket = backend::parseTicket(text)) {
        for (const std::string &value : {ticket->queue, ticket->title, ticket->host, ticket->user}) {
            checkClean(value);
        }
        ensure(backend::parseTicket(backend::formatTicket(*ticket)) == ticket);
    }
}

void checkMapping(std::string_view text)
{
    std::vector<std::string> problems;
    for (const backend::MappingRule &rule : backend::parseMapping(text, problems)) {
        ensure(!rule.user.empty() && !rule.host.empty() && !rule.account.empty());
    }
}

void checkStem(std::string_view name)
{
    const std::string_view stem = backend::stemOf(name, backend::ticketSuffix);
    ensure(stem.find_first_of("/. \n\"") == std::string_view::npos && !stem.starts_with("-"));
}

} // namespace

// Everything in the backend and the agent that reads what others wrote, over the same bytes.
int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    checkClean(backend::cleanValue(text));
    checkTicket(text);
    checkMapping(text);
    checkStem(text);
    const std::string options = "job-originating-host-name=evil.example " + std::string(text);
    ensure(!backend::isThisComputer(backend::originatingHost(options)));
    return 0;
}
