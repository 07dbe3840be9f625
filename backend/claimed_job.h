// SPDX-License-Identifier: MIT
#pragma once

#include "backend/WaitingJobs.h"

#include <functional>
#include <string>

/// What becomes of a job that the agent has claimed. It is started once at the most: a document that is still
/// there afterwards moves to failed/, and the user is told.
namespace backend {

using TellUser = std::function<void(const std::string &)>;

/// Starts the program for a claimed job, waits for its end and settles the job.
void sendClaimedJob(const WaitingJobs &jobs, const std::string &stem, const std::string &program,
                    const TellUser &tellUser);

/// Settles a claimed job whose agent has ended without doing so.
void settleAbandonedJob(const WaitingJobs &jobs, const std::string &stem, const TellUser &tellUser);

} // namespace backend
