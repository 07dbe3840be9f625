// SPDX-License-Identifier: MIT
#include "vrc/local_commands.h"

#include "vrc/compress.h"
#include "vrc/failure.h"
#include "wire/limits.h"

#include <algorithm>
#include <array>
#include <span>
#include <string_view>

namespace vrc {
namespace {

namespace errors = wire::errors;
using wire::Command;
using wire::Field;

[[noreturn]] void failMalformed(const Command &command, const std::string &problem)
{
    fail(errors::malformedCommand, command.name + ": " + problem);
}

const std::string &argument(const Command &command, std::string_view key)
{
    const std::string *value = command.find(key);
    if (value == nullptr) {
        failMalformed(command, "the field " + std::string(key) + " is missing");
    }
    return *value;
}

const std::string &nameArgument(const Command &command, std::string_view key)
{
    const std::string &name = argument(command, key);
    if (!wire::isName(name)) {
        failMalformed(command, std::string(key) + " is no name of an object");
    }
    return name;
}

std::int64_t numberArgument(const Command &command, std::string_view key)
{
    const std::optional<std::int64_t> number = wire::parseInteger(argument(command, key));
    if (!number) {
        fail(errors::badNumber,
             command.name + ": " + std::string(key) + " is not a number, or too large a one");
    }
    return *number;
}

std::uint64_t countArgument(const Command &command, std::string_view key)
{
    const std::int64_t number = numberArgument(command, key);
    if (number < 0) {
        fail(errors::badNumber, command.name + ": " + std::string(key) + " is negative");
    }
    return static_cast<std::uint64_t>(number);
}

bool switchArgument(const Command &command, std::string_view key)
{
    const std::string *value = command.find(key);
    if (value != nullptr && *value != "YES" && *value != "NO") {
        failMalformed(command, std::string(key) + " is neither YES nor NO");
    }
    return value != nullptr && *value == "YES";
}

/// The position in a list for an index that counts from 1.
std::size_t position(const Command &command, std::size_t entries)
{
    const std::int64_t index = numberArgument(command, "INDEX");
    if (index < 1 || static_cast<std::uint64_t>(index) > entries) {
        fail(errors::indexOutOfRange, command.name + ": there is no entry " + std::to_string(index) +
                                          " among " + std::to_string(entries));
    }
    return static_cast<std::size_t>(index) - 1;
}

std::string errorInfo(LocalState &state, const Command &command)
{
    const std::string &wanted = argument(command, "ERROR_STRING");
    const wire::ErrorInfo &error = state.lastError;
    if (wanted == "SERVICE") {
        return error.service;
    }
    if (wanted == "CLASS") {
        return error.errorClass;
    }
    if (wanted == "CODE") {
        return std::to_string(error.code);
    }
    if (wanted == "DESCRIPTION") {
        return error.description;
    }
    if (wanted == "INFO") {
        return error.info;
    }
    failMalformed(command, "ERROR_STRING is none of SERVICE, CLASS, CODE, DESCRIPTION, INFO");
}

std::string sessionId(LocalState &state, const Command &)
{
    return state.sessionId;
}

LocalFile newFile(const Command &command)
{
    const std::string &path = argument(command, "FILENAME");
    const std::string *persist = command.find("PERSIST");
    if (path.empty()) {
        failMalformed(command, "FILENAME is empty");
    }
    if (persist != nullptr && *persist != "0" && *persist != "-1") {
        fail(errors::badNumber, command.name + ": PERSIST is neither 0 nor -1");
    }
    return {path, persist != nullptr && *persist == "0"};
}

std::string createObject(LocalState &state, const Command &command)
{
    const std::string &name = nameArgument(command, "NAME");
    const std::optional<wire::ObjectType> type = wire::typeFromName(argument(command, "TYPE"));
    const bool mayReplace = switchArgument(command, "REPLACE");
    if (!type) {
        failMalformed(command, "TYPE names no type of object");
    }
    if (*type == wire::ObjectType::file) {
        state.objects.create(name, newFile(command), mayReplace);
    } else {
        state.objects.create(name, wire::emptyValue(*type), mayReplace);
    }
    return {};
}

std::string removeObject(LocalState &state, const Command &command)
{
    state.objects.remove(nameArgument(command, "NAME"));
    return {};
}

std::string copyObject(LocalState &state, const Command &command)
{
    LocalFile &target = state.objects.file(nameArgument(command, "NAME"));
    const LocalFile &source = state.objects.file(nameArgument(command, "SNAME"));
    target.copyFrom(source, countArgument(command, "OFFSET"), countArgument(command, "NUM_BYTES"));
    return {};
}

std::string fileSize(LocalState &state, const Command &command)
{
    return std::to_string(state.objects.file(nameArgument(command, "NAME")).size());
}

std::string compressObject(LocalState &state, const Command &command)
{
    const LocalFile &source = state.objects.file(nameArgument(command, "NAME"));
    compressFile(source, state.objects.file(nameArgument(command, "DNAME")));
    return {};
}

std::string setString(LocalState &state, const Command &command)
{
    auto &text = state.objects.value<std::string>(nameArgument(command, "NAME"));
    text = argument(command, "VALUE");
    return {};
}

std::string getString(LocalState &state, const Command &command)
{
    return state.objects.value<std::string>(nameArgument(command, "NAME"));
}

std::string setInteger(LocalState &state, const Command &command)
{
    auto &number = state.objects.value<std::int64_t>(nameArgument(command, "NAME"));
    number = numberArgument(command, "VALUE");
    return {};
}

std::string getInteger(LocalState &state, const Command &command)
{
    return std::to_string(state.objects.value<std::int64_t>(nameArgument(command, "NAME")));
}

std::string stringListSize(LocalState &state, const Command &command)
{
    return std::to_string(state.objects.value<wire::StringList>(nameArgument(command, "NAME")).size());
}

std::string stringListValue(LocalState &state, const Command &command)
{
    const auto &list = state.objects.value<wire::StringList>(nameArgument(command, "NAME"));
    return list[position(command, list.size())];
}

wire::IndStringList &keyedList(LocalState &state, const Command &command)
{
    return state.objects.value<wire::IndStringList>(nameArgument(command, "NAME"));
}

std::string keyedListSize(LocalState &state, const Command &command)
{
    return std::to_string(keyedList(state, command).size());
}

std::string keyedListKey(LocalState &state, const Command &command)
{
    const wire::IndStringList &list = keyedList(state, command);
    return list[position(command, list.size())].key;
}

wire::IndStringList::iterator findKey(wire::IndStringList &list, const std::string &key)
{
    return std::find_if(list.begin(), list.end(), [&key](const Field &entry) { return entry.key == key; });
}

std::string keyedListValue(LocalState &state, const Command &command)
{
    wire::IndStringList &list = keyedList(state, command);
    if (command.find("KEY") == nullptr) {
        return list[position(command, list.size())].value;
    }
    const std::string &key = argument(command, "KEY");
    const auto entry = findKey(list, key);
    if (entry == list.end()) {
        fail(errors::unknownObject, "the list " + argument(command, "NAME") + " has no key " + key);
    }
    return entry->value;
}

std::string setKeyedListValue(LocalState &state, const Command &command)
{
    wire::IndStringList &list = keyedList(state, command);
    const std::string &key = argument(command, "KEY");
    const std::string &value = argument(command, "VALUE");
    const auto entry = findKey(list, key);
    if (entry != list.end()) {
        entry->value = value;
        return {};
    }
    if (list.size() == wire::maxEntries) {
        fail(errors::limitExceeded,
             "the list " + argument(command, "NAME") + " holds 10,000 entries already");
    }
    list.push_back({key, value});
    return {};
}

std::string tableRows(LocalState &state, const Command &command)
{
    return std::to_string(state.objects.value<wire::Table>(nameArgument(command, "NAME")).rows());
}

std::string tableRow(LocalState &state, const Command &command)
{
    const auto &table = state.objects.value<wire::Table>(nameArgument(command, "NAME"));
    const std::string *mode = command.find("MODE");
    if (mode != nullptr && *mode != "STRING") {
        failMalformed(command, "MODE is not STRING");
    }
    const std::int64_t row = numberArgument(command, "ROW");
    const std::optional<std::string> text = wire::rowText(table, row);
    if (!text) {
        fail(errors::indexOutOfRange, command.name + ": there is no row " + std::to_string(row) + " among " +
                                          std::to_string(table.rows()));
    }
    return *text;
}

struct LocalCommand
{
    std::string_view name;
    std::string_view keys; ///< those that may stand, separated by blanks
    std::string (*run)(LocalState &, const Command &);
};

constexpr std::array localCommands = {
    LocalCommand{"LOCAL:REQUEST:ERROR_INFO", "ERROR_STRING", errorInfo},
    LocalCommand{"LOCAL:REQUEST:GET_SESSION_ID", "", sessionId},
    LocalCommand{"LOCAL:OBJECT:CREATE", "TYPE NAME REPLACE PERSIST FILENAME", createObject},
    LocalCommand{"LOCAL:OBJECT:REMOVE", "NAME", removeObject},
    LocalCommand{"LOCAL:OBJECT:COPY", "NAME SNAME OFFSET NUM_BYTES", copyObject},
    LocalCommand{"LOCAL:OBJECT:FILE_GET_SIZE", "NAME", fileSize},
    LocalCommand{"LOCAL:OBJECT:FILE_COMPRESS", "NAME DNAME", compressObject},
    LocalCommand{"LOCAL:OBJECT:STRING_SET_VALUE", "NAME VALUE", setString},
    LocalCommand{"LOCAL:OBJECT:STRING_GET_VALUE", "NAME", getString},
    LocalCommand{"LOCAL:OBJECT:INTEGER_SET_VALUE", "NAME VALUE", setInteger},
    LocalCommand{"LOCAL:OBJECT:INTEGER_GET_VALUE", "NAME", getInteger},
    LocalCommand{"LOCAL:OBJECT:STRINGLIST_GET_SIZE", "NAME", stringListSize},
    LocalCommand{"LOCAL:OBJECT:STRINGLIST_GET_VALUE", "NAME INDEX", stringListValue},
    LocalCommand{"LOCAL:OBJECT:INDSTRINGLIST_GET_SIZE", "NAME", keyedListSize},
    LocalCommand{"LOCAL:OBJECT:INDSTRINGLIST_GET_KEY", "NAME INDEX", keyedListKey},
    LocalCommand{"LOCAL:OBJECT:INDSTRINGLIST_GET_VALUE", "NAME KEY INDEX", keyedListValue},
    LocalCommand{"LOCAL:OBJECT:INDSTRINGLIST_SET_VALUE", "NAME KEY VALUE", setKeyedListValue},
    LocalCommand{"LOCAL:OBJECT:TABLE_GET_NUM_ROWS", "NAME", tableRows},
    LocalCommand{"LOCAL:OBJECT:TABLE_GET_ROW", "NAME ROW MODE", tableRow},
};

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
    const auto *found =
        std::find_if(localCommands.begin(), localCommands.end(),
                     [&command](const LocalCommand &row) { return row.name == command.name; });
    if (found == localCommands.end()) {
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
