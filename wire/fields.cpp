// SPDX-License-Identifier: MIT
#include "wire/fields.h"

#include "wire/limits.h"
#include "wire/utf8.h"

#include <algorithm>
#include <charconv>

namespace wire {
namespace {

bool isKeyCharacter(char c)
{
    return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

bool isKey(std::string_view key)
{
    return !key.empty() && std::all_of(key.begin(), key.end(), isKeyCharacter);
}

void skipBlanks(std::string_view &text)
{
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
}

/// Takes one field from the front of the line; what follows it is a blank or the end.
bool takeField(std::string_view &line, Field &field, std::string &problem)
{
    const std::size_t opening = line.find("=|");
    if (opening == std::string_view::npos || !isKey(line.substr(0, opening))) {
        problem = "a field is not of the form KEY=|value|";
        return false;
    }
    field.key = line.substr(0, opening);
    line.remove_prefix(opening + 2);
    const std::size_t closing = line.find('|');
    if (closing == std::string_view::npos) {
        problem = "the value of " + field.key + " has no closing bar";
        return false;
    }
    field.value = line.substr(0, closing);
    line.remove_prefix(closing + 1);
    if (!line.empty() && line.front() != ' ') {
        problem = "something other than a blank follows the value of " + field.key;
        return false;
    }
    return true;
}

bool holdsKey(const std::vector<Field> &fields, std::string_view key)
{
    return std::any_of(fields.begin(), fields.end(), [key](const Field &f) { return f.key == key; });
}

std::optional<bool> parseYes(const Field &field, std::string &problem)
{
    if (field.value == "YES" || field.value == "NO") {
        return field.value == "YES";
    }
    problem = field.key + " is neither YES nor NO";
    return std::nullopt;
}

bool takeVerb(const Field &first, Command &command, std::string &problem)
{
    command.name = first.value;
    if (first.key == "VR_CMD" || first.key == "VR_PROC") {
        command.verb = first.key == "VR_CMD" ? Verb::command : Verb::procedure;
        problem = command.name.empty() ? first.key + " names nothing" : "";
        return !command.name.empty();
    }
    if (first.key == "VR_CLOSE_SESSION") {
        command.verb = Verb::closeSession;
        command.name.clear();
        problem = first.value == "YES" ? "" : "VR_CLOSE_SESSION is not YES";
        return first.value == "YES";
    }
    problem = "the first field is neither VR_CMD nor VR_PROC nor VR_CLOSE_SESSION";
    return false;
}

bool takeModifier(Field &field, Command &command, std::string &problem)
{
    if (field.key == "VR_CONTAINER") {
        command.container = std::move(field.value);
        return true;
    }
    if (field.key == "VR_VAR") {
        if (!isName(field.value)) {
            problem = "VR_VAR names no variable";
            return false;
        }
        command.variable = std::move(field.value);
        return true;
    }
    if (field.key == "VR_NO_ERROR" || field.key == "VR_KEEP_VAR") {
        const std::optional<bool> yes = parseYes(field, problem);
        (field.key == "VR_NO_ERROR" ? command.noError : command.keepVariables) = yes.value_or(false);
        return yes.has_value();
    }
    problem = "unknown key " + field.key;
    return false;
}

} // namespace

const std::string *Command::find(std::string_view key) const
{
    const auto found =
        std::find_if(arguments.begin(), arguments.end(), [key](const Field &f) { return f.key == key; });
    return found == arguments.end() ? nullptr : &found->value;
}

std::optional<std::vector<Field>> parseFields(std::string_view line, std::string &problem)
{
    if (line.size() > maxCommandBytes) {
        problem = "the command is longer than 1 MiB";
        return std::nullopt;
    }
    if (!isText(line)) {
        problem = "the command is not UTF-8";
        return std::nullopt;
    }
    std::vector<Field> fields;
    for (skipBlanks(line); !line.empty(); skipBlanks(line)) {
        Field field;
        if (!takeField(line, field, problem)) {
            return std::nullopt;
        }
        if (holdsKey(fields, field.key) || fields.size() == maxFields) {
            problem = fields.size() == maxFields ? "the command has too many fields"
                                                 : "the key " + field.key + " stands twice";
            return std::nullopt;
        }
        fields.push_back(std::move(field));
    }
    if (fields.empty()) {
        problem = "the command is empty";
        return std::nullopt;
    }
    return fields;
}

std::optional<Command> parseCommand(std::string_view line, std::string &problem)
{
    std::optional<std::vector<Field>> fields = parseFields(line, problem);
    Command command;
    if (!fields || !takeVerb(fields->front(), command, problem)) {
        return std::nullopt;
    }
    for (auto field = fields->begin() + 1; field != fields->end(); ++field) {
        if (!field->key.starts_with("VR_")) {
            command.arguments.push_back(std::move(*field));
        } else if (!takeModifier(*field, command, problem)) {
            return std::nullopt;
        }
    }
    return command;
}

std::string formatFields(std::span<const Field> fields)
{
    std::string line;
    for (const Field &field : fields) {
        line.append(line.empty() ? "" : " ").append(field.key).append("=|").append(field.value).append("|");
    }
    return line;
}

std::optional<std::string_view> variableOf(std::string_view value)
{
    if (!value.starts_with("##")) {
        return std::nullopt;
    }
    return value.substr(2);
}

std::optional<std::int64_t> parseInteger(std::string_view text)
{
    std::int64_t value = 0;
    const char *end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || stopped != end) {
        return std::nullopt;
    }
    return value;
}

bool isName(std::string_view name)
{
    const auto isPlain = [](char c) {
        return static_cast<unsigned char>(c) >= 0x20 && c != 0x7f && c != '|';
    };
    return !name.empty() && name.size() <= maxNameBytes && std::all_of(name.begin(), name.end(), isPlain) &&
           isText(name);
}

std::string maskSecrets(std::string_view line)
{
    constexpr std::string_view marker = "PASSWORD=|";
    std::string masked;
    for (std::size_t at = line.find(marker); at != std::string_view::npos; at = line.find(marker)) {
        const std::size_t value = at + marker.size();
        masked.append(line.substr(0, value)).append("****");
        line.remove_prefix(std::min(line.find('|', value), line.size()));
    }
    return masked.append(line);
}

} // namespace wire
