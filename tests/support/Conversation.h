// SPDX-License-Identifier: MIT
#pragma once

#include "tests/support/conversation_tokens.h"
#include "wire/frames.h"

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The golden conversations of tests/data/conversations (their format: format-of-conversations.md there).
namespace conversation {

using Variables = std::map<std::string, std::string>;

struct Line
{
    char kind = ' '; ///< '!' command, '=' its outcome, 'f' file, '>' frame of a request, '<' of an answer,
                     ///< '-' and '~' lost
    std::vector<Token> tokens;
    int number = 0; ///< in the file
};

struct Script
{
    std::string name;
    std::vector<Line> lines;

    /// False for conversations that the library never holds: only servers are tested with them.
    [[nodiscard]] bool isForClients() const;

    /// False where the moment of a loss decides what the server answers.
    [[nodiscard]] bool isForServers() const;
};

/// One request and its answer, as a server sees them.
struct Exchange
{
    std::vector<Line> request;
    std::vector<Line> answer;
    /// The answer does not arrive, or the connection is lost before the end of the request.
    bool isLost = false;
};

[[nodiscard]] std::vector<Script> readAll(const std::filesystem::path &folder);
[[nodiscard]] std::vector<Exchange> exchangesOf(const Script &script);

/// Variables put in; an unknown one is an error.
[[nodiscard]] std::string expanded(const Token &token, const Variables &variables);

/// The bytes of a frame line.
[[nodiscard]] std::string encoded(const Line &line, const Variables &variables);

/// Empty when the frame is the one of the line, else what is different. $NAME binds an unbound variable, * is
/// anything.
[[nodiscard]] std::string difference(const Line &line, wire::FrameType type, std::string_view payload,
                                     Variables &variables);

} // namespace conversation
