// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace conversation {

/// A word of a line. Quoted ones are texts, in which ${NAME} stands for a variable.
struct Token
{
    std::string text;
    bool isQuoted = false;
};

/// The words of a line. Quoted texts may hold \n and \xHH, be repeated ("..."*N), and stand next to each
/// other: then they are one.
[[nodiscard]] std::vector<Token> tokensOf(std::string_view text);

} // namespace conversation
