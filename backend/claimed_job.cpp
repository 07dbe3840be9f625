// SPDX-License-Identifier: MIT
#include "backend/claimed_job.h"

#include "backend/program_run.h"

namespace backend {
namespace {

std::vector<std::string> sendCommand(const std::string &program, const JobTicket &ticket,
                                     const std::string &document)
{
    return {program,     "-m",     "send",      "-p",         ticket.queue,
            "-f",        document, "-d",        ticket.title, "-c",
            ticket.host, "-u",     ticket.user, "-n",         std::to_string(ticket.copies)};
}

std::string describe(const ProgramEnd &end)
{
    switch (end.kind) {
    case ProgramEnd::Kind::signalled:
        return "the program ended unexpectedly (signal " + std::to_string(end.number) + ")";
    case ProgramEnd::Kind::notStarted:
        return "the program could not be started";
    case ProgramEnd::Kind::exited:
        break;
    }
    return "the program did not take it (status " + std::to_string(end.number) + ")";
}

/// The program deletes a document that it dealt with; one that is still there was not sent.
void settle(const WaitingJobs &jobs, const std::string &stem, const std::string &what,
            const std::string &reason, const TellUser &tellUser)
{
    jobs.removeWorkFiles(stem);
    if (!jobs.hasDocument(stem)) {
        jobs.remove(stem);
        return;
    }
    const std::string kept = jobs.moveToFailed(stem);
    tellUser(what + " was not sent: " + reason + ". It is kept " +
             (kept.empty() ? "as " + jobs.documentPath(stem) : "for 7 days as " + kept));
}

} // namespace

void sendClaimedJob(const WaitingJobs &jobs, const std::string &stem, const std::string &program,
                    const TellUser &tellUser)
{
    const auto ticket = jobs.ticket(stem);
    if (!ticket || !jobs.hasDocument(stem)) {
        settle(jobs, stem, "A printed document", "its ticket cannot be read", tellUser);
        return;
    }
    const std::string what = "'" + ticket->title + "'";
    const ProgramEnd end = runProgram(sendCommand(program, *ticket, jobs.documentPath(stem)));
    if (end.kind == ProgramEnd::Kind::signalled && !jobs.hasDocument(stem)) {
        tellUser(describe(end) + " after it had dealt with " + what);
    }
    settle(jobs, stem, what, describe(end), tellUser);
}

void settleAbandonedJob(const WaitingJobs &jobs, const std::string &stem, const TellUser &tellUser)
{
    const auto ticket = jobs.ticket(stem);
    const std::string what = ticket ? "'" + ticket->title + "'" : "A printed document";
    settle(jobs, stem, what, "the session ended while it was being sent", tellUser);
}

} // namespace backend
