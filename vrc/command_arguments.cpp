// SPDX-License-Identifier: MIT
#include "vrc/command_arguments.h"

#include "vrc/Failure.h"

namespace vrc {

namespace errors = wire::errors;

void failMalformed(const wire::Command &command, const std::string &problem)
{
    fail(errors::malformedCommand, command.name + ": " + problem);
}

const std::string &argument(const wire::Command &command, std::string_view key)
{
    const std::string *value = command.find(key);
    if (value == nullptr) {
        failMalformed(command, "the field " + std::string(key) + " is missing");
    }
    return *value;
}

const std::string &nameArgument(const wire::Command &command, std::string_view key)
{
    const std::string &name = argument(command, key);
    if (!wire::isName(name)) {
        failMalformed(command, std::string(key) + " is no name of an object");
    }
    return name;
}

std::int64_t numberArgument(const wire::Command &command, std::string_view key)
{
    const std::optional<std::int64_t> number = wire::parseInteger(argument(command, key));
    if (!number) {
        fail(errors::badNumber,
             command.name + ": " + std::string(key) + " is not a number, or too large a one");
    }
    return *number;
}

std::uint64_t countArgument(const wire::Command &command, std::string_view key)
{
    const std::int64_t number = numberArgument(command, key);
    if (number < 0) {
        fail(errors::badNumber, command.name + ": " + std::string(key) + " is negative");
    }
    return static_cast<std::uint64_t>(number);
}

bool switchArgument(const wire::Command &command, std::string_view key)
{
    const std::string *value = command.find(key);
    if (value != nullptr && *value != "YES" && *value != "NO") {
        failMalformed(command, std::string(key) + " is neither YES nor NO");
    }
    return value != nullptr && *value == "YES";
}

std::size_t indexArgument(const wire::Command &command, std::size_t entries)
{
    const std::int64_t index = numberArgument(command, "INDEX");
    if (index < 1 || static_cast<std::uint64_t>(index) > entries) {
        fail(errors::indexOutOfRange, command.name + ": there is no entry " + std::to_string(index) +
                                          " among " + std::to_string(entries));
    }
    return static_cast<std::size_t>(index) - 1;
}

} // namespace vrc
