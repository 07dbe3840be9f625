// SPDX-License-Identifier: MIT
#include "appserver/session_commands.h"

#include "appserver/AppServices.h"
#include "appserver/CommandFailure.h"
#include "appserver/control_digest.h"
#include "appserver/login_check.h"
#include "appserver/object_commands.h"
#include "appserver/session_procedures.h"

#include <algorithm>
#include <array>

namespace appserver {

namespace {

namespace errors = wire::errors;

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
