// SPDX-License-Identifier: MIT
#pragma once

namespace appserver {

struct ServerOptions;

/// `vrserver user ...`; the exit status. Passwords come from standard input, without echo at a terminal, and
/// never from the command line, which every user of the machine can read.
[[nodiscard]] int administerUsers(const ServerOptions &options);

/// `vrserver documents`: identifier, state, owner, print mode, format, bytes, copies, paper, colour, duplex,
/// staple, file name and note of each document, separated by tabs.
[[nodiscard]] int listDocuments(const ServerOptions &options);

} // namespace appserver
