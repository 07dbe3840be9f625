// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace backend {

/// A job as cupsd hands it to a backend (backend(7)), texts as they came.
struct CupsJob
{
    std::string id;   ///< digits only
    std::string user; ///< a claim of whoever sent the job
    std::string title;
    unsigned copies = 1;
    std::string host;               ///< where the job was sent from; empty when cupsd does not say
    std::vector<std::string> files; ///< empty: the document comes from standard input
};

/// Reads "job user title copies options [file ...]". Nothing unless there are at least these five and the job
/// number is one; a number of copies that is none, or out of 1 to maxCopies, counts as 1.
[[nodiscard]] std::optional<CupsJob> parseJob(std::span<const std::string> arguments);

/// The value of job-originating-host-name in a job's options. Options come from strangers, and a crafted one
/// can repeat the name: the first value that does not name this computer wins, wherever it stands.
[[nodiscard]] std::string originatingHost(std::string_view options);

/// Whether cupsd says "this computer" with this name.
[[nodiscard]] bool isThisComputer(std::string_view host);

} // namespace backend
