// SPDX-License-Identifier: MIT
#include "vrc/RemoteCommand.h"

#include "vrc/Failure.h"
#include "vrc/file_access.h"
#include "wire/limits.h"

#include <algorithm>
#include <array>
#include <utility>

namespace vrc {
namespace {

using Kind = RemoteCommand::Kind;

constexpr std::array<std::pair<std::string_view, Kind>, 7> kinds = {{
    {"OBJECT:CREATE", Kind::create},
    {"OBJECT:REMOVE", Kind::remove},
    {"OBJECT:GET", Kind::get},
    {"OBJECT:SEND", Kind::send},
    {"OBJECT:FILE_APPEND", Kind::append},
    {"OBJECT:FILE_DECOMPRESS", Kind::decompress},
    {"OBJECT:INTEGER_SET_VALUE", Kind::setInteger},
}};

Kind kindOf(const wire::Command &command)
{
    if (command.verb == wire::Verb::procedure) {
        return Kind::procedure;
    }
    if (command.name == "OBJECT:FILE_GET_SIZE" && command.variable) {
        return Kind::sizeToVariable;
    }
    const auto *found = std::find_if(kinds.begin(), kinds.end(),
                                     [&command](const auto &row) { return row.first == command.name; });
    return found == kinds.end() ? Kind::other : found->second;
}

std::string valueOf(const wire::Command &command, std::string_view key)
{
    const std::string *value = command.find(key);
    return value == nullptr ? std::string() : *value;
}

/// NAME, and for the append SNAME, stand for themselves; nothing else stands there.
bool isPlain(const wire::Command &command)
{
    const bool hasModifier =
        command.container || command.variable || command.noError || command.keepVariables;
    const bool hasVariable =
        std::any_of(command.arguments.begin(), command.arguments.end(), [](const wire::Field &field) {
            return wire::variableOf(field.value).has_value() || !wire::isName(field.value);
        });
    const std::size_t fields = command.name == "OBJECT:FILE_APPEND" ? 2 : 1;
    return !hasModifier && !hasVariable && command.arguments.size() == fields;
}

/// What the library has to understand of a command that it does not wait for.
bool hasNames(const wire::Command &command)
{
    return std::all_of(command.arguments.begin(), command.arguments.end(), [](const wire::Field &field) {
        const bool isObject = field.key == "NAME" || field.key == "SNAME" || field.key == "DNAME";
        return !isObject || (wire::isName(field.value) && !wire::variableOf(field.value));
    });
}

bool mayQueue(const RemoteCommand &described, const wire::Command &command)
{
    const bool carriesBack =
        described.kind == Kind::other || described.kind == Kind::procedure || described.kind == Kind::get;
    return !carriesBack && described.hasNames && !command.container && !command.noError;
}

void requireName(const std::string &name, const RemoteCommand &command)
{
    if (!wire::isName(name)) {
        fail(wire::errors::malformedCommand, "a field of the command names no object: " + command.line);
    }
}

/// A file that fits into one data frame goes with the frames, in one piece.
bool fitsDataFrame(std::uint64_t bytes)
{
    return bytes > 0 && bytes <= wire::maxDataBytes;
}

template <class Source>
void appendBlock(OutgoingBody &body, std::uint64_t bytes, Source appendContents)
{
    body.blockBytes = static_cast<std::size_t>(bytes);
    body.frames.reserve(body.frames.size() + wire::frameHeaderBytes + body.blockBytes);
    wire::appendDataHeader(body.frames, body.blockBytes);
    appendContents(body.frames, body.blockBytes);
}

void appendLocalObject(OutgoingBody &body, const std::string &name, LocalObjects &objects)
{
    LocalObject &object = objects.find(name);
    if (const auto *file = std::get_if<LocalFile>(&object)) {
        const std::uint64_t bytes = file->size();
        wire::append(body.frames, wire::ObjectFrame{wire::ObjectType::file, name, bytes});
        if (!fitsDataFrame(bytes)) {
            body.file = FileSlice{file->path(), 0, bytes};
            return;
        }
        return appendBlock(body, bytes, [file](std::string &frames, std::size_t count) {
            file->appendContents(frames, count);
        });
    }
    const auto &value = std::get<wire::Value>(object);
    if (!wire::isWithinLimits(value)) {
        fail(wire::errors::limitExceeded, "the object " + name + " is too large to be sent");
    }
    wire::appendValue(body.frames, name, value);
}

} // namespace

RemoteCommand describe(const wire::Command &command, std::string_view line)
{
    RemoteCommand described;
    described.kind = kindOf(command);
    described.line = line;
    described.name = valueOf(command, "NAME");
    described.sourceName = valueOf(command, "SNAME");
    described.targetName = valueOf(command, "DNAME");
    described.createsFile = described.kind == Kind::create && valueOf(command, "TYPE") == "FILE";
    described.noError = command.noError;
    described.isPlain = isPlain(command);
    described.hasNames = hasNames(command);
    described.mayQueue = mayQueue(described, command);
    if (described.kind == Kind::get || described.kind == Kind::send) {
        requireName(described.name, described);
    }
    return described;
}

OutgoingBody bodyOf(const RemoteCommand &command, const Dispatch &dispatch, LocalObjects &objects,
                    const AppendedFiles &appended)
{
    wire::CommandFrame frame;
    frame.number = dispatch.number;
    frame.isQueued = dispatch.isQueued;
    frame.line = command.line;
    if (command.kind == Kind::append) {
        frame.offset = appended.size(command.name);
    }
    if (command.kind == Kind::decompress) {
        frame.hash = appended.hash(command.name);
    }
    OutgoingBody body;
    wire::append(body.frames, frame);
    if (command.kind == Kind::send) {
        appendLocalObject(body, command.name, objects);
    }
    return body;
}

OutgoingBody bodyOf(const QueuedCommand &command)
{
    wire::CommandFrame frame;
    frame.number = command.number;
    frame.isQueued = true;
    OutgoingBody body;
    switch (command.kind) {
    case QueuedCommand::Kind::kept:
        body.frames = command.frames;
        return body;
    case QueuedCommand::Kind::remove:
        frame.line = "VR_CMD=|OBJECT:REMOVE| NAME=|" + command.name + "|";
        break;
    case QueuedCommand::Kind::send:
        frame.line = "VR_CMD=|OBJECT:SEND| NAME=|" + command.name + "|";
        break;
    case QueuedCommand::Kind::append:
        frame.line =
            "VR_CMD=|OBJECT:FILE_APPEND| NAME=|" + command.name + "| SNAME=|" + command.sourceName + "|";
        frame.offset = command.offset;
        break;
    }
    wire::append(body.frames, frame);
    if (command.kind == QueuedCommand::Kind::send) {
        wire::append(body.frames,
                     wire::ObjectFrame{wire::ObjectType::file, command.name, command.slice.bytes});
        if (command.slice.bytes > 0) {
            appendBlock(body, command.slice.bytes, [&command](std::string &frames, std::size_t count) {
                FileReader(command.slice.path).append(command.slice.offset, frames, count);
            });
        }
    }
    return body;
}

} // namespace vrc
