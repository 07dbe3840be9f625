// SPDX-License-Identifier: MIT
#include "vrc/local_command_table.h"

#include "vrc/Failure.h"
#include "vrc/command_arguments.h"
#include "vrc/compress.h"
#include "wire/limits.h"

#include <algorithm>
#include <array>

namespace vrc {
namespace {

namespace errors = wire::errors;
using wire::Command;
using wire::Field;

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
    return list[indexArgument(command, list.size())];
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
    return list[indexArgument(command, list.size())].key;
}

wire::IndStringList::iterator findKey(wire::IndStringList &list, const std::string &key)
{
    return std::find_if(list.begin(), list.end(), [&key](const Field &entry) { return entry.key == key; });
}

std::string keyedListValue(LocalState &state, const Command &command)
{
    wire::IndStringList &list = keyedList(state, command);
    if (command.find("KEY") == nullptr) {
        return list[indexArgument(command, list.size())].value;
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

} // namespace

const LocalCommand *findLocalCommand(std::string_view name)
{
    const auto *found = std::find_if(localCommands.begin(), localCommands.end(),
                                     [name](const LocalCommand &row) { return row.name == name; });
    return found == localCommands.end() ? nullptr : found;
}

} // namespace vrc
