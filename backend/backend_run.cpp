// SPDX-License-Identifier: MIT
#include "backend/backend_run.h"

#include "backend/SpoolDelivery.h"
#include "backend/cups_job.h"
#include "backend/spool_folder.h"
#include "backend/spool_names.h"
#include "backend/value_cleaning.h"

#include <fcntl.h>

#include <ctime>
#include <ostream>

namespace backend {
namespace {

/// Stands in the queue's state reasons from a refusal to the next job; the PPD gives it a text.
constexpr char refusedReason[] = "varek-refused-warning";

/// cupsd names the backend after the device's scheme when it asks for devices.
std::string schemeOf(const std::string &program)
{
    return program.substr(program.rfind('/') + 1);
}

void listDevice(const std::string &program, std::ostream &devices)
{
    devices << "direct " << schemeOf(program) << ":127.0.0.1 \"Varek Printer\" \"Varek Printer\" "
            << "\"MFG:Varek;MDL:Printer;DES:Varek Printer;CMD:PDF;\" \"\"" << std::endl;
}

Account recipientOf(const CupsJob &job, const BackendSurroundings &surroundings)
{
    const std::vector<MappingRule> rules = readMapping(surroundings.mappingFile, surroundings.messages);
    const Recipient recipient = chooseRecipient(job.user, job.host, rules, surroundings.findAccount);
    switch (recipient.outcome) {
    case Recipient::Outcome::accepted:
        return recipient.account;
    case Recipient::Outcome::unavailable:
        throw BackendFailure(ExitCode::hold, recipient.reason);
    case Recipient::Outcome::refused:
        break;
    }
    surroundings.messages << "STATE: +" << refusedReason << std::endl;
    throw BackendFailure(ExitCode::cancel, recipient.reason);
}

/// Opened while the process is root, since cupsd's files belong to it.
std::vector<DocumentSource> openDocuments(const CupsJob &job, int standardInput)
{
    std::vector<DocumentSource> sources;
    if (job.files.empty()) {
        sources.push_back({FileDescriptor(::fcntl(standardInput, F_DUPFD_CLOEXEC, 3)), true});
    }
    for (const std::string &file : job.files) {
        sources.push_back({FileDescriptor(::open(file.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC)), false});
    }
    for (const DocumentSource &source : sources) {
        if (!source.fd.isOpen()) {
            throw systemFailure("Cannot open the document");
        }
    }
    return sources;
}

JobTicket ticketOf(const CupsJob &job, const BackendSurroundings &surroundings)
{
    JobTicket ticket;
    ticket.queue = cleanValue(surroundings.queue);
    ticket.title = cleanValue(job.title);
    ticket.host = cleanValue(isThisComputer(job.host) ? surroundings.computer : job.host);
    ticket.user = cleanValue(job.user);
    ticket.copies = job.copies;
    ticket.printedAt = std::time(nullptr);
    return ticket;
}

std::int64_t nowNanoseconds()
{
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    return static_cast<std::int64_t>(now.tv_sec) * 1'000'000'000 + now.tv_nsec;
}

void deliver(const CupsJob &job, const BackendSurroundings &surroundings)
{
    if (surroundings.queue.empty()) {
        throw BackendFailure(ExitCode::cancel, "cupsd gave no queue name");
    }
    const Account account = recipientOf(job, surroundings);
    const std::vector<DocumentSource> sources = openDocuments(job, surroundings.document);
    const FileDescriptor folder = openUserFolder(surroundings.spoolRoot, account);
    takeIdentity(account);

    const JobTicket ticket = ticketOf(job, surroundings);
    const std::int64_t arrival = nowNanoseconds();
    SpoolDelivery delivery(folder.get());
    for (std::size_t i = 0; i < sources.size(); ++i) {
        delivery.stage(jobStem(arrival, job.id, i), sources[i], ticket);
    }
    delivery.publish();
    surroundings.messages << "INFO: Waiting for " << cleanValue(account.name) << std::endl;
}

} // namespace

ExitCode runBackend(std::span<const std::string> arguments, const BackendSurroundings &surroundings)
{
    if (arguments.size() <= 1) {
        listDevice(arguments.empty() ? "varek" : arguments[0], surroundings.devices);
        return ExitCode::ok;
    }
    try {
        const auto job = parseJob(arguments.subspan(1));
        if (!job) {
            throw BackendFailure(ExitCode::cancel,
                                 "Usage: varek job-id user title copies options [file ...]");
        }
        surroundings.messages << "STATE: -" << refusedReason << std::endl;
        deliver(*job, surroundings);
        return ExitCode::ok;
    } catch (const BackendFailure &failure) {
        surroundings.messages << "ERROR: " << failure.what() << std::endl;
        return failure.code();
    } catch (const std::exception &error) {
        surroundings.messages << "ERROR: " << error.what() << std::endl;
        return ExitCode::hold;
    }
}

} // namespace backend
