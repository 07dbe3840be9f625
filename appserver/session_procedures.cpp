// SPDX-License-Identifier: MIT
#include "appserver/session_procedures.h"

#include "appserver/AppServices.h"
#include "appserver/CommandFailure.h"
#include "wire/limits.h"

#include <algorithm>
#include <array>

namespace appserver {

namespace {

namespace errors = wire::errors;

void requireArguments(const wire::Command &command, std::initializer_list<std::string_view> known)
{
    for (const wire::Field &field : command.arguments) {
        if (std::ranges::find(known, field.key) == known.end()) {
            throw CommandFailure(errors::badArgument,
                                 command.name + " has no argument " + field.key.substr(0, 64));
        }
    }
}

const std::string &argument(const wire::Command &command, std::string_view key)
{
    const std::string *value = command.find(key);
    if (value == nullptr) {
        throw CommandFailure(errors::badArgument, command.name + " needs the argument " + std::string(key));
    }
    return *value;
}

/// The object stands in the session, and travels with the answer.
CommandOutcome makeObject(AppServices &services, ServerSession &session, const std::string &name,
                          wire::Value value)
{
    session.objects.put(name, ServerObject(value), services.configuration()->limits);
    CommandOutcome outcome;
    outcome.objects.push_back({name, ServerObject(std::move(value))});
    return outcome;
}

void addMissing(wire::IndStringList &list, const std::string &key, const std::string &value)
{
    const auto found = std::ranges::find(list, key, &wire::Field::key);
    if (found == list.end()) {
        list.push_back({key, value});
    } else if (found->value.empty()) {
        found->value = value;
    }
}

wire::IndStringList directoryParameters(const DirectorySettings &directory, const OwnAddresses &own)
{
    wire::IndStringList list;
    for (const auto &[key, value] : directory.parameters) {
        list.push_back({key, withOwnAddresses(value, own)});
    }
    for (const std::string role : {"UPLOAD", "PORTAL"}) {
        addMissing(list, "SERVER_" + role + "_ADDRESS", own.address);
        addMissing(list, "SERVER_" + role + "_PORT", std::to_string(own.port));
    }
    return list;
}

wire::StringList withOwnAddresses(const std::vector<std::string> &entries, const OwnAddresses &own)
{
    wire::StringList list;
    std::ranges::transform(entries, std::back_inserter(list), [&own](const std::string &entry) {
        return appserver::withOwnAddresses(entry, own);
    });
    return list;
}

CommandOutcome getData(AppServices &services, ServerSession &session, const wire::Command &command)
{
    requireArguments(command, {"DIRECTORY", "KEY", "ENTRIES"});
    const auto configuration = services.configuration();
    const auto found = configuration->directories.find(argument(command, "DIRECTORY"));
    if (found == configuration->directories.end()) {
        throw CommandFailure(errors::badArgument, "there is no directory of that name");
    }
    const std::string wanted = argument(command, "KEY") + '/' + argument(command, "ENTRIES");
    const OwnAddresses own = services.addresses();
    if (wanted == "Settings/Parameters") {
        return makeObject(services, session, "parameters", directoryParameters(found->second, own));
    }
    if (wanted == "Directories/Directories") {
        return makeObject(services, session, "directories", withOwnAddresses(found->second.directories, own));
    }
    if (wanted == "Help/Topics") {
        return makeObject(services, session, "Topics", withOwnAddresses(found->second.topics, own));
    }
    throw CommandFailure(errors::badArgument, "the directory holds no such entries");
}

std::string infoValue(const wire::IndStringList &info, std::string_view key)
{
    const auto found = std::ranges::find(info, key, &wire::Field::key);
    return found == info.end() ? std::string() : found->value;
}

Document describe(const wire::IndStringList &info, const Person &person, const std::string &queue)
{
    Document document;
    document.owner = person.name;
    document.queue = queue;
    document.printMode = infoValue(info, "PRINT_MODE");
    document.printerName = infoValue(info, "PRINTER_NAME");
    document.fileName = infoValue(info, "FILE_NAME");
    document.clientMachine = infoValue(info, "WIN_MACHINE");
    document.clientUser = infoValue(info, "WIN_USER");
    document.tunnelService = infoValue(info, "TUNNEL_SERVICE");
    document.tunnelProfile = infoValue(info, "TUNNEL_PROFILE");
    document.state = document.printMode == "TUNNEL" ? "released" : "waiting";
    return document;
}

const ServerObject &received(const ServerSession &session, const std::string &name)
{
    const ServerObject *object = session.objects.find(name);
    if (object == nullptr) {
        throw CommandFailure(errors::documentMissing, "there is no " + name);
    }
    return *object;
}

const wire::IndStringList &receivedInfo(const ServerSession &session)
{
    const auto *value = std::get_if<wire::Value>(&received(session, "FILE_INFO"));
    const auto *info = value != nullptr ? std::get_if<wire::IndStringList>(value) : nullptr;
    if (info == nullptr) {
        throw CommandFailure(errors::documentMissing, "FILE_INFO is no list of keys and values");
    }
    return *info;
}

CommandOutcome processFile(AppServices &services, ServerSession &session, const wire::Command &command)
{
    requireArguments(command, {"QUEUE"});
    requirePerson(session);
    const auto *file = std::get_if<FilePtr>(&received(session, "RECEIVED_FILE"));
    if (file == nullptr) {
        throw CommandFailure(errors::documentMissing, "RECEIVED_FILE is no file");
    }
    const FilePtr contents = *file;
    const wire::IndStringList &info = receivedInfo(session);
    if (infoValue(info, "FILE_SIZE") != std::to_string(contents->size())) {
        throw CommandFailure(errors::documentSize, "the document has " + std::to_string(contents->size()) +
                                                       " bytes, its description says otherwise");
    }
    const auto format = recogniseFormat(*contents);
    if (!format) {
        throw CommandFailure(errors::unprintableFormat);
    }
    const std::string *queue = command.find("QUEUE");
    Document document = describe(info, *session.person, queue != nullptr ? *queue : std::string());
    document.format = *format;
    const std::string id = services.documents.store(*contents, std::move(document));
    session.objects.remove("RECEIVED_FILE");
    session.objects.remove("FILE_INFO");
    return makeObject(services, session, "FILE_ID", id);
}

CommandOutcome doNothing(AppServices &, ServerSession &, const wire::Command &command)
{
    requireArguments(command, {});
    return {};
}

struct ProcedureRow
{
    std::string_view name;
    CommandOutcome (*call)(AppServices &, ServerSession &, const wire::Command &);
};

constexpr std::array procedureRows{
    ProcedureRow{"GetData", getData},
    ProcedureRow{"ProcessFile", processFile},
    ProcedureRow{"Nothing", doNothing},
};

} // namespace

CommandOutcome callProcedure(AppServices &services, ServerSession &session, const wire::Command &command)
{
    const auto *row = std::ranges::find(procedureRows, command.name, &ProcedureRow::name);
    if (row == procedureRows.end()) {
        throw CommandFailure(errors::unknownProcedure,
                             "there is no procedure '" + command.name.substr(0, 64) + "'");
    }
    return row->call(services, session, command);
}

void callSessionProcedure(AppServices &services, ServerSession &session, const std::string &name)
{
    if (name.empty()) {
        return;
    }
    wire::Command command;
    command.verb = wire::Verb::procedure;
    command.name = name;
    static_cast<void>(callProcedure(services, session, command));
}

} // namespace appserver
