// SPDX-License-Identifier: MIT
#include "appserver/ObjectReceiver.h"

#include "appserver/CommandFailure.h"
#include "wire/limits.h"

#include <algorithm>
#include <system_error>

namespace appserver {

ObjectReceiver::ObjectReceiver(const wire::ObjectFrame &frame)
    : m_type(frame.type), m_name(frame.name), m_missing(frame.bytes)
{}

void ObjectReceiver::keepFor(SessionObjects &objects, const ServerLimits &limits)
{
    try {
        m_isKept = true;
        std::uint64_t room = wire::maxValueBytes;
        if (m_type == wire::ObjectType::file) {
            m_file = objects.newFile();
            room = objects.roomForFile(*m_file, limits);
        } else {
            room = std::min(room, objects.roomForValue(m_name, limits));
        }
        if (m_missing > room) {
            m_failure =
                wire::makeError(wire::errors::tooManyObjects, "the object '" + m_name + "' is too large");
        }
    } catch (const std::system_error &trouble) {
        m_failure = wire::makeError(wire::errors::cannotStore, trouble.code().message());
    }
}

bool ObjectReceiver::take(std::string_view bytes)
{
    if (bytes.size() > m_missing) {
        return false;
    }
    m_missing -= bytes.size();
    if (m_isKept && !m_failure) {
        keep(bytes);
    }
    return true;
}

void ObjectReceiver::keep(std::string_view bytes)
{
    if (!m_file) {
        m_bytes.append(bytes);
        return;
    }
    try {
        m_file->append(bytes);
    } catch (const std::system_error &trouble) {
        m_failure = wire::makeError(wire::errors::cannotStore, trouble.code().message());
    }
}

ServerObject ObjectReceiver::takeObject()
{
    if (m_failure) {
        throw CommandFailure(*m_failure);
    }
    if (m_file) {
        return std::move(m_file);
    }
    auto value = wire::decodeValue(m_type, m_bytes);
    if (!value) {
        throw CommandFailure(wire::errors::tooManyObjects,
                             "the object '" + m_name + "' is malformed or exceeds a limit");
    }
    return std::move(*value);
}

} // namespace appserver
