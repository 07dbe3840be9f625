// SPDX-License-Identifier: MIT
#include "appserver/SessionObjects.h"

#include "appserver/CommandFailure.h"
#include "appserver/ServerConfiguration.h"

#include <algorithm>
#include <numeric>

namespace appserver {

namespace {

/// What an entry takes beside its text.
constexpr std::uint64_t entryBytes = 32;

std::uint64_t memoryOf(const std::string &text)
{
    return text.size() + entryBytes;
}

std::uint64_t memoryOf(const wire::Field &field)
{
    return field.key.size() + field.value.size() + 2 * entryBytes;
}

std::uint64_t memoryOf(std::int64_t)
{
    return entryBytes;
}

template <typename List>
std::uint64_t memoryOfAll(const List &list)
{
    return std::accumulate(list.begin(), list.end(), entryBytes,
                           [](std::uint64_t sum, const auto &entry) { return sum + memoryOf(entry); });
}

struct MemoryOfValue
{
    std::uint64_t operator()(const std::string &text) const { return memoryOf(text); }

    std::uint64_t operator()(std::int64_t number) const { return memoryOf(number); }

    std::uint64_t operator()(const wire::StringList &list) const { return memoryOfAll(list); }

    std::uint64_t operator()(const wire::IndStringList &list) const { return memoryOfAll(list); }

    std::uint64_t operator()(const wire::Table &table) const { return memoryOfAll(table.cells); }
};

std::uint64_t memoryOf(const ServerObject &object)
{
    const auto *value = std::get_if<wire::Value>(&object);
    return value != nullptr ? std::visit(MemoryOfValue{}, *value) : 0;
}

std::uint64_t roomBelow(std::uint64_t limit, std::uint64_t used)
{
    return limit > used ? limit - used : 0;
}

[[noreturn]] void failUnknown(std::string_view name)
{
    throw CommandFailure(wire::errors::serverUnknownObject, "there is no object '" + std::string(name) + "'");
}

} // namespace

SessionObjects::SessionObjects(std::filesystem::path folder) : m_folder(std::move(folder))
{}

SessionObjects::~SessionObjects()
{
    m_objects.clear();
    removeFolder(m_folder);
}

FilePtr SessionObjects::newFile()
{
    createPrivateFolder(m_folder);
    return std::make_shared<FileObject>(m_folder);
}

void SessionObjects::put(const std::string &name, ServerObject object, const ServerLimits &limits)
{
    if (!m_objects.contains(name) && m_objects.size() >= limits.sessionObjects) {
        throw CommandFailure(wire::errors::tooManyObjects, "the session holds too many objects");
    }
    if (memoryOf(object) > roomForValue(name, limits)) {
        throw CommandFailure(wire::errors::tooManyObjects, "the objects of the session are too large");
    }
    m_objects.insert_or_assign(name, std::move(object));
}

void SessionObjects::remove(const std::string &name)
{
    m_objects.erase(name);
}

const ServerObject *SessionObjects::find(const std::string &name) const
{
    const auto found = m_objects.find(name);
    return found == m_objects.end() ? nullptr : &found->second;
}

FilePtr SessionObjects::file(const std::string &name) const
{
    const ServerObject *object = find(name);
    if (object == nullptr) {
        failUnknown(name);
    }
    const auto *file = std::get_if<FilePtr>(object);
    if (file == nullptr) {
        throw CommandFailure(wire::errors::serverWrongType, "'" + name + "' is no file");
    }
    return *file;
}

const wire::Value &SessionObjects::value(const std::string &name) const
{
    const ServerObject *object = find(name);
    if (object == nullptr) {
        failUnknown(name);
    }
    const auto *value = std::get_if<wire::Value>(object);
    if (value == nullptr) {
        throw CommandFailure(wire::errors::serverWrongType, "'" + name + "' is a file");
    }
    return *value;
}

std::uint64_t SessionObjects::roomForFile(const FileObject &file, const ServerLimits &limits) const
{
    return std::min(roomBelow(limits.fileBytes, file.size()),
                    roomBelow(limits.sessionFileBytes, fileBytes()));
}

std::uint64_t SessionObjects::roomForValue(const std::string &name, const ServerLimits &limits) const
{
    const ServerObject *replaced = find(name);
    const std::uint64_t given = replaced != nullptr ? memoryOf(*replaced) : 0;
    return roomBelow(limits.sessionMemoryBytes, memoryBytes() - given);
}

void SessionObjects::setVariable(const std::string &name, std::string value, const ServerLimits &limits)
{
    if (!m_variables.contains(name) && m_variables.size() >= limits.sessionVariables) {
        throw CommandFailure(wire::errors::tooManyObjects, "the session holds too many variables");
    }
    if (memoryOf(value) > roomBelow(limits.sessionMemoryBytes, memoryBytes())) {
        throw CommandFailure(wire::errors::tooManyObjects, "the variables of the session are too large");
    }
    m_variables.insert_or_assign(name, std::move(value));
}

const std::string &SessionObjects::variable(std::string_view name) const
{
    const auto found = m_variables.find(name);
    if (found == m_variables.end()) {
        throw CommandFailure(wire::errors::serverUnknownVariable,
                             "there is no variable '" + std::string(name) + "'");
    }
    return found->second;
}

std::uint64_t SessionObjects::memoryBytes() const
{
    std::uint64_t sum = 0;
    for (const auto &[name, object] : m_objects) {
        sum += memoryOf(object);
    }
    for (const auto &[name, value] : m_variables) {
        sum += memoryOf(value);
    }
    return sum;
}

std::uint64_t SessionObjects::fileBytes() const
{
    std::uint64_t sum = 0;
    for (const auto &[name, object] : m_objects) {
        const auto *file = std::get_if<FilePtr>(&object);
        sum += file != nullptr ? (*file)->size() : 0;
    }
    return sum;
}

} // namespace appserver
