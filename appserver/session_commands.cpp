// SPDX-License-Identifier: MIT
#include "appserver/session_commands.h"

#include "appserver/AppServices.h"
#include "appserver/CommandFailure.h"
#include "appserver/control_digest.h"
#include "appserver/decompression.h"
#include "appserver/login_check.h"
#include "appserver/profile_objects.h"
#include "appserver/session_procedures.h"

#include <algorithm>
#include <array>
#include <span>

namespace appserver {

namespace {

namespace errors = wire::errors;

struct CommandContext
{
    AppServices &services;
    ServerSession &session;
    const ReceivedCommand &received;
    const wire::Command &command; ///< with the values of variables in place
    const ServerLimits &limits;

    [[nodiscard]] const std::string &argument(std::string_view key) const
    {
        const std::string *value = command.find(key);
        if (value == nullptr) {
            throw CommandFailure(errors::unknownCommand, command.name + " needs " + std::string(key));
        }
        return *value;
    }

    [[nodiscard]] const std::string &name(std::string_view key = "NAME") const
    {
        const std::string &value = argument(key);
        if (!wire::isName(value)) {
            throw CommandFailure(errors::unknownCommand, std::string(key) + " is no name of an object");
        }
        return value;
    }
};

std::int64_t integerFrom(const std::string &text)
{
    const auto number = wire::parseInteger(text);
    if (!number) {
        throw CommandFailure(errors::serverBadNumber,
                             "'" + text.substr(0, 64) + "' is no whole number of 64 bits");
    }
    return *number;
}

void demandLogin(LoginResult result)
{
    switch (result) {
    case LoginResult::good:
        return;
    case LoginResult::unknownUser:
        throw CommandFailure(errors::unknownUser);
    case LoginResult::wrongPassword:
        throw CommandFailure(errors::wrongPassword);
    case LoginResult::tooMany:
        throw CommandFailure(errors::tooManyLogins);
    }
}

CommandOutcome logIn(const CommandContext &context)
{
    const std::string *user = context.command.find("POD_USER");
    const std::string *password = context.command.find("POD_PASSWORD");
    if (user == nullptr && password == nullptr) {
        return {};
    }
    ServerSession &session = context.session;
    const std::string name = user != nullptr ? *user : std::string();
    const std::string secret = password != nullptr ? *password : std::string();
    session.person.reset();
    session.hasPerson = false;
    demandLogin(checkLogin(context.services, name, secret, context.received.remoteAddress));
    session.person = Person{name, controlDigest(session.id, name, secret)};
    session.hasPerson = true;
    return {};
}

CommandOutcome createObject(const CommandContext &context)
{
    const std::string &name = context.name();
    const auto type = wire::typeFromName(context.argument("TYPE"));
    if (!type) {
        throw CommandFailure(errors::unknownCommand, "there is no type '" + context.argument("TYPE") + "'");
    }
    const std::string *replace = context.command.find("REPLACE");
    if (replace != nullptr && *replace != "YES" && *replace != "NO") {
        throw CommandFailure(errors::unknownCommand, "REPLACE is neither YES nor NO");
    }
    SessionObjects &objects = context.session.objects;
    if ((replace == nullptr || *replace == "NO") && objects.find(name) != nullptr) {
        throw CommandFailure(errors::serverObjectExists, "the object '" + name + "' exists already");
    }
    ServerObject object = *type == wire::ObjectType::file ? ServerObject(objects.newFile())
                                                          : ServerObject(wire::emptyValue(*type));
    objects.put(name, std::move(object), context.limits);
    return {};
}

CommandOutcome removeObject(const CommandContext &context)
{
    context.session.objects.remove(context.name());
    return {};
}

CommandOutcome getObject(const CommandContext &context)
{
    const std::string &name = context.name();
    std::optional<ServerObject> object;
    if (context.command.container) {
        const auto configuration = context.services.configuration();
        object = profileObject(*configuration, *context.command.container, name);
    } else if (const ServerObject *found = context.session.objects.find(name)) {
        object = *found;
    }
    if (!object && context.command.noError) {
        object = ServerObject(wire::Value(std::string()));
    }
    if (!object) {
        throw CommandFailure(errors::serverUnknownObject, "there is no object '" + name + "'");
    }
    CommandOutcome outcome;
    outcome.objects.push_back({name, std::move(*object)});
    return outcome;
}

CommandOutcome sendObject(const CommandContext &context)
{
    const std::string &name = context.name();
    context.session.objects.put(name, context.received.object.value(), context.limits);
    return {};
}

CommandOutcome appendFile(const CommandContext &context)
{
    SessionObjects &objects = context.session.objects;
    const FilePtr target = objects.file(context.name());
    const FilePtr source = objects.file(context.name("SNAME"));
    if (source == target) {
        throw CommandFailure(errors::unknownCommand, "a file cannot be appended to itself");
    }
    if (context.received.offset && *context.received.offset != target->size()) {
        throw CommandFailure(errors::wrongOffset,
                             "the block belongs at " + std::to_string(*context.received.offset) +
                                 ", the file has " + std::to_string(target->size()) + " bytes");
    }
    if (source->size() > objects.roomForFile(*target, context.limits)) {
        throw CommandFailure(errors::tooManyObjects, "the file would become too long");
    }
    target->append(*source);
    return {};
}

CommandOutcome fileSize(const CommandContext &context)
{
    return {std::to_string(context.session.objects.file(context.name())->size()), {}};
}

[[noreturn]] void failDamaged(const std::string &reason)
{
    throw CommandFailure(errors::damagedData, reason);
}

CommandOutcome decompressFile(const CommandContext &context)
{
    SessionObjects &objects = context.session.objects;
    const std::string &targetName = context.name("DNAME");
    const FilePtr source = objects.file(context.name());
    // The old target must not be taken for the new one when this fails.
    if (targetName == context.name()) {
        throw CommandFailure(errors::unknownCommand, "a file cannot be decompressed into itself");
    }
    objects.remove(targetName);
    if (context.received.hash && *context.received.hash != source->hash()) {
        failDamaged("the compressed data is not what the client sent");
    }
    const FilePtr target = objects.newFile();
    switch (decompress(*source, *target, objects.roomForFile(*target, context.limits))) {
    case Decompression::done:
        objects.put(targetName, target, context.limits);
        return {};
    case Decompression::tooLong:
        throw CommandFailure(errors::tooManyObjects, "the decompressed file is too long");
    case Decompression::damaged:
        break;
    }
    failDamaged("the compressed data is damaged");
}

CommandOutcome setValue(const CommandContext &context, wire::ObjectType type)
{
    SessionObjects &objects = context.session.objects;
    const std::string &name = context.name();
    if (wire::typeOf(objects.value(name)) != type) {
        throw CommandFailure(errors::serverWrongType,
                             "'" + name + "' is no " + std::string(wire::typeName(type)));
    }
    const std::string &text = context.argument("VALUE");
    wire::Value value =
        type == wire::ObjectType::integer ? wire::Value(integerFrom(text)) : wire::Value(text);
    objects.put(name, ServerObject(std::move(value)), context.limits);
    return {};
}

CommandOutcome setInteger(const CommandContext &context)
{
    return setValue(context, wire::ObjectType::integer);
}

CommandOutcome setString(const CommandContext &context)
{
    return setValue(context, wire::ObjectType::string);
}

struct CommandRow
{
    std::string_view name;
    CommandOutcome (*carryOut)(const CommandContext &);
    std::array<std::string_view, 3> arguments;
    bool storesSomething;
};

constexpr std::array commandRows{
    CommandRow{"MISC:NOP", logIn, {"POD_USER", "POD_PASSWORD"}, false},
    CommandRow{"OBJECT:CREATE", createObject, {"TYPE", "NAME", "REPLACE"}, true},
    CommandRow{"OBJECT:REMOVE", removeObject, {"NAME"}, false},
    CommandRow{"OBJECT:GET", getObject, {"NAME"}, false},
    CommandRow{"OBJECT:SEND", sendObject, {"NAME"}, true},
    CommandRow{"OBJECT:FILE_APPEND", appendFile, {"NAME", "SNAME"}, true},
    CommandRow{"OBJECT:FILE_GET_SIZE", fileSize, {"NAME"}, false},
    CommandRow{"OBJECT:FILE_DECOMPRESS", decompressFile, {"NAME", "DNAME"}, true},
    CommandRow{"OBJECT:INTEGER_SET_VALUE", setInteger, {"NAME", "VALUE"}, true},
    CommandRow{"OBJECT:STRING_SET_VALUE", setString, {"NAME", "VALUE"}, true},
};

const CommandRow &rowOf(const wire::Command &command)
{
    const auto *row = std::ranges::find(commandRows, command.name, &CommandRow::name);
    if (command.verb != wire::Verb::command || row == commandRows.end()) {
        throw CommandFailure(errors::unknownCommand,
                             "there is no command '" + command.name.substr(0, 64) + "'");
    }
    for (const wire::Field &field : command.arguments) {
        if (field.key.empty() || std::ranges::find(row->arguments, field.key) == row->arguments.end()) {
            throw CommandFailure(errors::unknownCommand,
                                 command.name + " has no field " + field.key.substr(0, 64));
        }
    }
    return *row;
}

bool isLogin(const wire::Command &command)
{
    return command.verb == wire::Verb::command && command.name == "MISC:NOP";
}

/// Puts the values of variables in place. The values of a login are taken as they stand: a password may begin
/// with ##.
wire::Command withVariables(const wire::Command &command, const SessionObjects &objects,
                            std::vector<std::string> &used)
{
    wire::Command replaced = command;
    if (isLogin(command)) {
        return replaced;
    }
    for (wire::Field &field : replaced.arguments) {
        if (const auto variable = wire::variableOf(field.value)) {
            used.emplace_back(*variable);
            field.value = std::string(objects.variable(used.back()));
        }
    }
    return replaced;
}

CommandOutcome dispatch(AppServices &services, ServerSession &session, const ReceivedCommand &received,
                        const wire::Command &command)
{
    const auto configuration = services.configuration();
    const ServerLimits &limits = configuration->limits;
    if (command.verb == wire::Verb::procedure) {
        return callProcedure(services, session, command);
    }
    const CommandRow &row = rowOf(command);
    if (row.storesSomething) {
        requirePerson(session);
    }
    return row.carryOut({services, session, received, command, limits});
}

} // namespace

CommandOutcome carryOut(AppServices &services, ServerSession &session, const ReceivedCommand &received)
{
    const wire::Command &command = received.command;
    requireAdmission(session, command);
    SessionObjects &objects = session.objects;
    try {
        std::vector<std::string> used;
        const wire::Command replaced = withVariables(command, objects, used);
        CommandOutcome outcome = dispatch(services, session, received, replaced);
        if (!command.keepVariables) {
            std::ranges::for_each(used, [&](const std::string &name) { objects.removeVariable(name); });
        }
        if (command.variable) {
            objects.setVariable(*command.variable, outcome.result, services.configuration()->limits);
        }
        return outcome;
    } catch (...) {
        if (command.variable) {
            objects.removeVariable(*command.variable);
        }
        throw;
    }
}

void requireAdmission(const ServerSession &session, const wire::Command &command)
{
    const bool logsIn = isLogin(command) && !command.arguments.empty();
    if (session.wantsLogin && !session.person && !logsIn) {
        throw CommandFailure(errors::loginFirst);
    }
}

void requirePerson(const ServerSession &session)
{
    if (!session.person) {
        throw CommandFailure(errors::loginFirst, "only a person who has logged in can store anything here");
    }
}

bool sendsObject(const wire::Command &command)
{
    return command.verb == wire::Verb::command && command.name == "OBJECT:SEND";
}

bool fetchesObject(const wire::Command &command)
{
    return command.verb == wire::Verb::command && command.name == "OBJECT:GET";
}

} // namespace appserver
