// SPDX-License-Identifier: MIT
#pragma once

#include "backend/backend_failure.h"
#include "backend/recipient.h"

#include <iosfwd>
#include <span>
#include <string>

namespace backend {

/// What the backend meets outside of itself.
struct BackendSurroundings
{
    std::string spoolRoot;
    std::string mappingFile; ///< read when root alone can write it; may be missing
    std::string queue;       ///< cupsd's PRINTER
    std::string computer;    ///< this computer's name: what "localhost" means to others
    FindAccount findAccount;
    std::ostream &devices;  ///< standard output: the device list
    std::ostream &messages; ///< standard error: cupsd's message lines (STATE:, ERROR:, INFO:, DEBUG:)
    int document = 0;       ///< where a job without files is read from
};

/// One run of the backend (backend(7)): without arguments behind the name it lists its device, with a job it
/// puts each document with a ticket into the recipient's spool and answers at once. Gives up the rights of
/// root on the way.
[[nodiscard]] ExitCode runBackend(std::span<const std::string> arguments,
                                  const BackendSurroundings &surroundings);

} // namespace backend
