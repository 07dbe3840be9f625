// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace backend {

/// What the program is told about a document that waits in the spool. Every text is one clean value
/// (see cleanValue).
struct JobTicket
{
    std::string queue;
    std::string title;
    std::string host; ///< the computer the document was printed from
    std::string user; ///< who printed it, as the job claims
    unsigned copies = 1;
    std::int64_t printedAt = 0; ///< seconds since 1970

    bool operator==(const JobTicket &) const = default;
};

inline constexpr unsigned maxCopies = 9999;
inline constexpr std::size_t maxTicketBytes = 16384;

/// The ticket as the text of a file: the line "varek-ticket 1", then one "key=value" line for each field, in
/// the order of JobTicket (queue, title, host, user, copies, time). UTF-8, lines end with a line feed.
[[nodiscard]] std::string formatTicket(const JobTicket &ticket);

/// Reads what formatTicket wrote. Strict: a missing, repeated, reordered or unknown line, a number out of
/// range, a text beyond maxTicketBytes or anything behind the last line gives nothing. Texts are cleaned once
/// more, so that a ticket written by somebody else cannot smuggle an option in either.
[[nodiscard]] std::optional<JobTicket> parseTicket(std::string_view text);

} // namespace backend
