// SPDX-License-Identifier: MIT
#include "backend/agent_run.h"

#include "backend/FolderWatch.h"
#include "backend/WaitingJobs.h"
#include "backend/cancel_signal.h"
#include "backend/spool_names.h"

#include <unistd.h>

#include <chrono>
#include <ctime>
#include <iostream>

namespace backend {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

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
    // Not counted in waits: asking a display that hangs takes its time as well.
    const auto limit = steady_clock::now() + milliseconds(options.displayWaitMs);
    if (canStart(options, surroundings)) {
        return true;
    }
    std::cerr << "varek-agent: documents wait for a display, or for " << options.program << std::endl;
    while (options.watch || steady_clock::now() < limit) {
        (void)waitReadable(-1, retryMs);
        if (isCancelled()) {
            break;
        }
        if (canStart(options, surroundings)) {
            return true;
        }
    }
    return false;
}

bool hasWaitingJobs(const AgentOptions &options)
{
    const auto jobs = WaitingJobs::open(userFolder(options));
    return jobs && !jobs->waiting().empty();
}

/// Starts everything that waits now; false when a waiting job cannot be taken. The lock is held from the
/// first claim to the end of the last job, and not while a display is waited for: another session of the same
/// user may have one.
bool runWaitingJobs(const AgentOptions &options, const AgentSurroundings &surroundings)
{
    auto jobs = WaitingJobs::open(userFolder(options));
    if (!jobs) {
        return true;
    }
    if (!jobs->lock()) {
        return false;
    }
    // Nobody works on these claims any more, since this process holds the lock.
    for (const std::string &stem : jobs->abandoned()) {
        settleAbandonedJob(*jobs, stem, surroundings.tellUser);
    }
    jobs->cleanUp(std::time(nullptr));
    for (auto waiting = jobs->waiting(); !waiting.empty(); waiting = jobs->waiting()) {
        if (isCancelled() || !canStart(options, surroundings)) {
            return true;
        }
        if (!jobs->claim(waiting.front())) {
            return false;
        }
        sendClaimedJob(*jobs, waiting.front(), options.program, surroundings.tellUser);
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
    return runWaitingJobs(options, surroundings) || isCancelled() ? 0 : 1;
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

} // namespace

int runAgent(const AgentOptions &options, const AgentSurroundings &surroundings)
{
    return options.watch ? watch(options, surroundings) : runOnce(options, surroundings);
}

} // namespace backend
