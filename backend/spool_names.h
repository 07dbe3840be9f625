// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <string_view>

/// The layout of the spool: <root>/<uid>/ holds, for each job, a document and a ticket of the same stem. A
/// job exists from the moment its ticket has its final name; the document is complete by then.
namespace backend {

inline constexpr char spoolRoot[] = "/var/spool/varek";

inline constexpr std::string_view documentSuffix = ".document";
inline constexpr std::string_view ticketSuffix = ".ticket";
inline constexpr std::string_view claimedSuffix = ".claimed"; ///< a ticket whose job an agent has taken
inline constexpr std::string_view partSuffix = ".part";       ///< a file that is still being written

/// Written anew when a user gets a spool folder: agents, which cannot list the root folder, watch this file.
inline constexpr char newFolderMarker[] = "new-folder";
inline constexpr char failedFolder[] = "failed";

/// Stems sort by time of arrival, then by the file's place in its job: letters, digits and "-" only.
[[nodiscard]] std::string jobStem(std::int64_t nanoseconds, std::string_view jobId, std::size_t index);

/// The stem of "<stem><suffix>", empty when the name is of another form.
[[nodiscard]] std::string_view stemOf(std::string_view fileName, std::string_view suffix);

} // namespace backend
