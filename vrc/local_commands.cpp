// SPDX-License-Identifier: MIT
#include "vrc/local_commands.h"

#include "vrc/Failure.h"
#include "vrc/command_arguments.h"
#include "vrc/local_command_table.h"
#include "wire/limits.h"

#include <algorithm>
#include <string_view>
#include <vector>

namespace vrc {
namespace {

namespace errors = wire::errors;
using wire::Command;
using wire::Field;

bool isListed(std::string_view keys, std::string_view key)
{
    while (!keys.empty()) {
        const std::string_view first = keys.substr(0, keys.find(' '));
        if (first == key) {
            return true;
        }
        keys.remove_prefix(std::min(keys.size(), first.size() + 1));
    }
    return false;
}

const LocalCommand &findCommand(const Command &command)
{
    const LocalCommand *found = findLocalCommand(command.name);
    if (found == nullptr) {
        fail(errors::malformedCommand, "there is no command " + command.name);
    }
    for (const Field &field : command.arguments) {
        if (!isListed(found->keys, field.key)) {
            failMalformed(command, "unknown key " + field.key);
        }
    }
    if (command.container) {
        failMalformed(command, "unknown key VR_CONTAINER");
    }
    return *found;
}

/// Puts the values of variables into the fields that ask for them; a variable that is used is gone then.
void substituteVariables(LocalState &state, Command &command)
{
    std::vector<std::string> used;
    for (Field &field : command.arguments) {
        const std::optional<std::string_view> name = wire::variableOf(field.value);
        if (!name) {
            continue;
        }
        const auto variable = state.variables.find(*name);
        if (variable == state.variables.end()) {
            fail(errors::unknownVariable, command.name + ": there is no variable " + std::string(*name));
        }
        used.push_back(variable->first);
        field.value = variable->second;
    }
    if (!command.keepVariables) {
        std::for_each(used.begin(), used.end(),
                      [&state](const std::string &name) { state.variables.erase(name); });
    }
}

/// A missing object is no error where the command says so: its value is empty.
std::string runTolerantly(LocalState &state, const LocalCommand &row, const Command &command)
{
    try {
        return row.run(state, command);
    } catch (const Failure &failure) {
        if (command.noError && wire::isError(failure.error(), errors::unknownObject)) {
            return {};
        }
        throw;
    }
}

void storeVariable(LocalState &state, const std::string &name, const std::string &result)
{
    if (state.variables.size() == wire::maxVariables && state.variables.find(name) == state.variables.end()) {
        fail(errors::limitExceeded, "the request holds too many variables");
    }
    state.variables.insert_or_assign(name, result);
}

} // namespace

std::string runLocalCommand(LocalState &state, wire::Command command)
{
    try {
        const LocalCommand &row = findCommand(command);
        substituteVariables(state, command);
        std::string result = runTolerantly(state, row, command);
        if (command.variable) {
            storeVariable(state, *command.variable, result);
        }
        return result;
    } catch (...) { // memory that runs out leaves nothing stale either
        if (command.variable) {
            state.variables.erase(*command.variable);
        }
        throw;
    }
}

bool isErrorQuery(const wire::Command &command)
{
    return command.name == "LOCAL:REQUEST:ERROR_INFO";
}

} // namespace vrc
