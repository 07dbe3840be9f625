// SPDX-License-Identifier: MIT
#pragma once

#include "backend/account.h"
#include "backend/job_mapping.h"

#include <string>
#include <vector>

namespace backend {

/// Whose spool a job goes to, or why to nobody's.
struct Recipient
{
    enum class Outcome
    {
        accepted,
        refused,
        unavailable
    };

    Outcome outcome = Outcome::refused;
    Account account;
    std::string reason; ///< one clean line for the queue window when not accepted
};

/// The first rule that fits decides; without one the job must come from this computer and its user must be an
/// ordinary user of it. A rule cannot make root or a system user the recipient either.
[[nodiscard]] Recipient chooseRecipient(const std::string &user, const std::string &host,
                                        const std::vector<MappingRule> &rules, const FindAccount &find);

} // namespace backend
