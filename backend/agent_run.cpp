// SPDX-License-Identifier: MIT
#include "backend/agent_run.h"

#include "backend/cancel_signal.h"
#include "backend/folder_watch.h"
#include "backend/program_run.h"
#include "backend/spool_names.h"
#include "backend/waiting_jobs.h"

#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <ctime>
#include <iostream>

namespace backend {
namespace {

constexpr int retryMs = 1000;
constexpr int noFolderMs = 5000;
constexpr int cleanUpMs = 3600 * 1000;

std::string userFolder(const AgentOptions &options)
{
    return options.spoolRoot + "/" + std::to_string(::geteuid());
}

bool canStart(const AgentOptions &options, const AgentSurroundings &surroundings)
{
    return ::access(options.program.c_str(), X_OK) == 0 && surroundings.displayOpens();
}

/// Waits until a job could be started; false when that did not come in time or a signal arrived.
bool waitForStart(const AgentOptions &options, const AgentSurroundings &surroundings)
{
    for (int waitedMs = 0; !isCancelled(); waitedMs += retryMs) {
        if (canStart(options, surroundings)) {
            return true;
        }
        if (waitedMs == 0) {
            std::cerr << "varek-agent: documents wait for a display, or for " << options.program << std::endl;
        }
        if (!options.watch && waitedMs >= options.displayWaitMs) {
            break;
        }
        (void)waitReadable(-1, retryMs);
    }
    return false;
}

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
            const std::string &reason, const AgentSurroundings &surroundings)
{
    jobs.removeWorkFiles(stem);
    if (!jobs.hasDocument(stem)) {
        jobs.remove(stem);
        return;
    }
    const std::string kept = jobs.moveToFailed(stem);
    surroundings.tellUser(what + " was not sent: " + reason + ". It is kept " +
                          (kept.empty() ? "as " + jobs.documentPath(stem) : "for 7 days as " + kept));
}

void runClaimedJob(const WaitingJobs &jobs, const std::string &stem, const AgentOptions &options,
                   const AgentSurroundings &surroundings)
{
    const auto ticket = jobs.ticket(stem);
    if (!ticket || !jobs.hasDocument(stem)) {
        settle(jobs, stem, "A printed document", "its ticket cannot be read", surroundings);
        return;
    }
    const std::string what = "'" + ticket->title + "'";
    const ProgramEnd end = runProgram(sendCommand(options.program, *ticket, jobs.documentPath(stem)));
    if (end.kind == ProgramEnd::Kind::signalled && !jobs.hasDocument(stem)) {
        surroundings.tellUser(describe(end) + " after it had dealt with " + what);
    }
    settle(jobs, stem, what, describe(end), surroundings);
}

/// Claims that nobody works on any more, since this process holds the lock.
void settleAbandoned(const WaitingJobs &jobs, const AgentSurroundings &surroundings)
{
    for (const std::string &stem : jobs.abandoned()) {
        const auto ticket = jobs.ticket(stem);
        const std::string what = ticket ? "'" + ticket->title + "'" : "A printed document";
        settle(jobs, stem, what, "the session ended while it was being sent", surroundings);
    }
}

bool hasWaitingJobs(const AgentOptions &options)
{
    const auto jobs = WaitingJobs::open(userFolder(options));
    return jobs && !jobs->waiting().empty();
}

/// Everything that waits now; false when a waiting job cannot be taken. The lock is held from the first claim
/// to the end of the last job, and not while a display is waited for: another session of the same user may
/// have one.
bool runWaitingJobs(const AgentOptions &options, const AgentSurroundings &surroundings)
{
    auto jobs = WaitingJobs::open(userFolder(options));
    if (!jobs) {
        return true;
    }
    if (!jobs->lock()) {
        return false;
    }
    settleAbandoned(*jobs, surroundings);
    jobs->cleanUp(std::time(nullptr));
    for (auto waiting = jobs->waiting(); !waiting.empty(); waiting = jobs->waiting()) {
        if (isCancelled() || !canStart(options, surroundings)) {
            return true;
        }
        if (!jobs->claim(waiting.front())) {
            return false;
        }
        runClaimedJob(*jobs, waiting.front(), options, surroundings);
    }
    return true;
}

int runOnce(const AgentOptions &options, const AgentSurroundings &surroundings)
{
    while (hasWaitingJobs(options)) {
        const bool taken = waitForStart(options, surroundings) && runWaitingJobs(options, surroundings);
        if (isCancelled()) {
            return 0;
        }
        if (!taken) {
            return 1;
        }
    }
    return runWaitingJobs(options, surroundings) ? 0 : 1;
}

int watch(const AgentOptions &options, const AgentSurroundings &surroundings)
{
    while (!isCancelled()) {
        const bool hasFolder = WaitingJobs::open(userFolder(options)).has_value();
        FolderWatch change(hasFolder ? userFolder(options) : options.spoolRoot + "/" + newFolderMarker);
        if (hasFolder) {
            (void)runOnce(options, surroundings);
        }
        if (!isCancelled()) {
            change.wait(hasFolder ? cleanUpMs : noFolderMs);
        }
    }
    return 0;
}

bool parseSeconds(const std::string &text, int &milliseconds)
{
    int seconds = 0;
    const auto [stopped, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
    if (error != std::errc() || stopped != text.data() + text.size() || seconds < 0 || seconds > 86400) {
        return false;
    }
    milliseconds = seconds * 1000;
    return true;
}

} // namespace

bool parseAgentArguments(std::span<const std::string> arguments, AgentOptions &options)
{
    bool hasMode = false;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string &option = arguments[i];
        if (option == "--once" || option == "--watch") {
            options.watch = option == "--watch";
            hasMode = true;
            continue;
        }
        if (++i == arguments.size()) {
            return false;
        }
        if (option == "--spool") {
            options.spoolRoot = arguments[i];
        } else if (option == "--program") {
            options.program = arguments[i];
        } else if (option != "--display-wait" || !parseSeconds(arguments[i], options.displayWaitMs)) {
            return false;
        }
    }
    return hasMode;
}

int runAgent(const AgentOptions &options, const AgentSurroundings &surroundings)
{
    return options.watch ? watch(options, surroundings) : runOnce(options, surroundings);
}

} // namespace backend
