// SPDX-License-Identifier: MIT
#include "backend/cups_job.h"
#include "backend/job_ticket.h"
#include "backend/recipient.h"
#include "backend/spool_names.h"
#include "backend/value_cleaning.h"
#include "tests/fuzz/fuzz_entry.h"

#include <algorithm>
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

/// A job's arguments as cupsd hands them over, one a line.
void checkJob(std::string_view text)
{
    std::vector<std::string> arguments;
    for (std::string_view rest = text; !rest.empty();) {
        const std::size_t end = std::min(rest.find('\n'), rest.size());
        arguments.emplace_back(rest.substr(0, end));
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    const auto job = backend::parseJob(arguments);
    if (!job) {
        return;
    }
    ensure(job->copies >= 1 && job->copies <= backend::maxCopies && job->id.size() <= 10);
    std::vector<std::string> problems;
    const auto find = [](const std::string &name) -> backend::AccountLookup {
        return {backend::AccountLookup::Outcome::found, {name, name.empty() ? 0U : 1000U, 1000U}};
    };
    const backend::Recipient recipient =
        backend::chooseRecipient(job->user, job->host, backend::parseMapping(text, problems), find);
    ensure(recipient.outcome != backend::Recipient::Outcome::accepted || recipient.account.uid >= 1000);
    ensure(recipient.reason.find_first_of("\n\r\x1B") == std::string::npos);
}

void checkStem(std::string_view name)
{
    const std::string_view stem = backend::stemOf(name, backend::ticketSuffix);
    ensure(stem.find_first_of("/. \n\"") == std::string_view::npos && !stem.starts_with("-"));
}

} // namespace

/// Everything in the backend and the agent that reads what others wrote, over the same bytes.
int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    checkClean(backend::cleanValue(text));
    checkTicket(text);
    checkMapping(text);
    checkStem(text);
    checkJob(text);
    const std::string options = "job-originating-host-name=evil.example " + std::string(text);
    ensure(!backend::isThisComputer(backend::originatingHost(options)));
    return 0;
}
