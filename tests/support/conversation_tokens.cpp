// SPDX-License-Identifier: MIT
#include "tests/support/conversation_tokens.h"

#include <algorithm>

namespace conversation {
namespace {

char escapedCharacter(std::string_view text, std::size_t &at)
{
    const char c = text[++at];
    if (c == 'n') {
        return '\n';
    }
    if (c == 'x') {
        const std::string digits(text.substr(at + 1, 2));
        at += 2;
        return static_cast<char>(std::stoi(digits, nullptr, 16));
    }
    return c;
}

/// A quoted text at `at`, with an optional repetition "..."*N behind it.
std::string takeQuoted(std::string_view text, std::size_t &at)
{
    std::string value;
    for (++at; at < text.size() && text[at] != '"'; ++at) {
        value.push_back(text[at] == '\\' ? escapedCharacter(text, at) : text[at]);
    }
    ++at;
    if (at >= text.size() || text[at] != '*') {
        return value;
    }
    const std::size_t times = std::stoul(std::string(text.substr(at + 1)));
    at = std::min(text.find_first_of(" \"", at), text.size());
    std::string repeated;
    for (std::size_t i = 0; i < times; ++i) {
        repeated += value;
    }
    return repeated;
}

/// Quoted texts without a blank between them are one.
std::string takeQuotedRow(std::string_view text, std::size_t &at)
{
    std::string row;
    while (at < text.size() && text[at] == '"') {
        row += takeQuoted(text, at);
    }
    return row;
}

} // namespace

std::vector<Token> tokensOf(std::string_view text)
{
    std::vector<Token> tokens;
    for (std::size_t at = 0; at < text.size();) {
        if (text[at] == ' ') {
            ++at;
        } else if (text[at] == '"') {
            tokens.push_back({takeQuotedRow(text, at), true});
        } else {
            const std::size_t end = std::min(text.find(' ', at), text.size());
            tokens.push_back({std::string(text.substr(at, end - at)), false});
            at = end;
        }
    }
    return tokens;
}

} // namespace conversation
