// SPDX-License-Identifier: MIT
#include "appserver/object_commands.h"

#include "appserver/AppServices.h"
#include "appserver/CommandFailure.h"
#include "appserver/decompression.h"
#include "appserver/profile_objects.h"

namespace appserver {

namespace {

namespace errors = wire::errors;

std::int64_t integerFrom(const std::string &text)
{
    const auto number = wire::parseInteger(text);
    if (!number) {
        throw CommandFailure(errors::serverBadNumber,
                             "'" + text.substr(0, 64) + "' is no whole number of 64 bits");
    }
    return *number;
}

[[noreturn]] void failDamaged(const std::string &reason)
{
    throw CommandFailure(errors::damagedData, reason);
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

} // namespace

const std::string &CommandContext::argument(std::string_view key) const
{
    const std::string *value = command.find(key);
    if (value == nullptr) {
        throw CommandFailure(errors::unknownCommand, command.name + " needs " + std::string(key));
    }
    return *value;
}

const std::string &CommandContext::name(std::string_view key) const
{
    const std::string &value = argument(key);
    if (!wire::isName(value)) {
        throw CommandFailure(errors::unknownCommand, std::string(key) + " is no name of an object");
    }
    return value;
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

CommandOutcome setInteger(const CommandContext &context)
{
    return setValue(context, wire::ObjectType::integer);
}

CommandOutcome setString(const CommandContext &context)
{
    return setValue(context, wire::ObjectType::string);
}

} // namespace appserver
