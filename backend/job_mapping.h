// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

/// The administrator's configuration, /etc/varek/backend.conf: whose jobs go to somebody else.
namespace backend {

inline constexpr std::size_t maxMappingBytes = 65536;

/// Jobs of this user from this host go to that account.
struct MappingRule
{
    std::string user; ///< "*" for any
    std::string host; ///< "*" for any, "localhost" for this computer
    std::string account;
};

/// Reads lines of the form "map USER@HOST ACCOUNT"; empty lines and lines that begin with "#" are skipped. A
/// line that cannot be understood is put into problems, as "line N: ..." texts, and has no effect.
[[nodiscard]] std::vector<MappingRule> parseMapping(std::string_view text,
                                                    std::vector<std::string> &problems);

/// The rules of a file; none when there is no such file, or when others than root can write it. What is
/// wrong is written to the messages, a line each. Throws BackendFailure for a file that cannot be read just
/// now, or is longer than maxMappingBytes: without its rules the document might go to somebody else.
[[nodiscard]] std::vector<MappingRule> readMapping(const std::string &file, std::ostream &messages);

} // namespace backend
