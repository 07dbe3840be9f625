// SPDX-License-Identifier: MIT
#include "vrc/LocalObjects.h"

#include "vrc/Failure.h"

namespace vrc {
namespace {

constexpr std::size_t maxObjects = 1024;

} // namespace

void LocalObjects::create(const std::string &name, LocalObject object, bool mayReplace)
{
    const auto existing = m_objects.find(name);
    if (existing != m_objects.end() && !mayReplace) {
        fail(wire::errors::objectExists, "the object " + name + " exists already");
    }
    if (existing != m_objects.end()) {
        // The old object goes first: it may own the file that the new one names.
        m_objects.erase(existing);
    }
    if (m_objects.size() == maxObjects) {
        fail(wire::errors::limitExceeded, "the request holds too many objects");
    }
    m_objects.emplace(name, std::move(object));
}

void LocalObjects::remove(std::string_view name)
{
    const auto existing = m_objects.find(name);
    if (existing != m_objects.end()) {
        m_objects.erase(existing);
    }
}

LocalObject &LocalObjects::find(std::string_view name)
{
    const auto existing = m_objects.find(name);
    if (existing == m_objects.end()) {
        fail(wire::errors::unknownObject, "there is no object " + std::string(name));
    }
    return existing->second;
}

LocalFile &LocalObjects::file(std::string_view name)
{
    auto *file = std::get_if<LocalFile>(&find(name));
    if (file == nullptr) {
        failWrongType(name);
    }
    return *file;
}

void LocalObjects::failWrongType(std::string_view name)
{
    fail(wire::errors::wrongType, "the object " + std::string(name) + " is of another type");
}

} // namespace vrc
