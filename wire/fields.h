// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// Command lines: fields KEY=|value| separated by blanks. Nothing is escaped, so a value cannot hold a bar.
namespace wire {

struct Field
{
    std::string key;
    std::string value;

    bool operator==(const Field &) const = default;
};

enum class Verb
{
    command,
    procedure,
    closeSession
};

/// A command line taken apart. The VR_ modifiers stand in members of their own, all other fields in
/// arguments.
struct Command
{
    Verb verb = Verb::command;
    std::string name; ///< of the command ("OBJECT:GET") or the procedure; empty for the session close
    std::vector<Field> arguments;
    std::optional<std::string> container; ///< VR_CONTAINER
    std::optional<std::string> variable;  ///< VR_VAR: where the result is stored
    bool noError = false;                 ///< VR_NO_ERROR=|YES|
    bool keepVariables = false;           ///< VR_KEEP_VAR=|YES|

    /// Null when there is no such argument.
    [[nodiscard]] const std::string *find(std::string_view key) const;

    [[nodiscard]] bool isLocal() const { return verb == Verb::command && name.starts_with("LOCAL:"); }
};

/// Splits a line into its fields. Blanks before, between and after fields may repeat (procedure arguments are
/// appended as they were configured). No value, and a sentence in `problem`, when the line is empty, is
/// longer than a command may be, is not UTF-8, holds a key that is not upper-case letters, digits and
/// underscores, a key twice, or more fields than a command may have.
[[nodiscard]] std::optional<std::vector<Field>> parseFields(std::string_view line, std::string &problem);

/// parseFields, then the verb (VR_CMD, VR_PROC or VR_CLOSE_SESSION, which comes first) and the modifiers.
[[nodiscard]] std::optional<Command> parseCommand(std::string_view line, std::string &problem);

/// The inverse of parseFields, for values without bars.
[[nodiscard]] std::string formatFields(std::span<const Field> fields);

/// The variable that a value of the form ##NAME stands for.
[[nodiscard]] std::optional<std::string_view> variableOf(std::string_view value);

/// Whole text as a decimal number: an optional minus, then digits. No value when malformed or beyond 64 bits.
[[nodiscard]] std::optional<std::int64_t> parseInteger(std::string_view text);

/// Names of objects and variables: 1 to 128 bytes of UTF-8 without control characters and bars.
[[nodiscard]] bool isName(std::string_view name);

/// The line with the values of all keys that end in PASSWORD replaced by "****", for logs.
[[nodiscard]] std::string maskSecrets(std::string_view line);

} // namespace wire
