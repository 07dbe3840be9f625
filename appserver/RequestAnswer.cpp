// SPDX-License-Identifier: MIT
#include "appserver/RequestAnswer.h"

#include "wire/limits.h"

#include <algorithm>

namespace appserver {

void RequestAnswer::addObject(const std::string &name, const ServerObject &object)
{
    if (const auto *value = std::get_if<wire::Value>(&object)) {
        wire::appendValue(text(), name, *value);
        return;
    }
    const FilePtr &file = std::get<FilePtr>(object);
    add(wire::ObjectFrame{wire::ObjectType::file, name, file->size()});
    if (file->size() > 0) {
        m_parts.emplace_back(FilePart{file, file->size()});
    }
}

void RequestAnswer::join(RequestAnswer other)
{
    std::ranges::move(other.m_parts, std::back_inserter(m_parts));
}

std::size_t RequestAnswer::memoryBytes() const
{
    std::size_t bytes = 0;
    for (const auto &part : m_parts) {
        const auto *frames = std::get_if<std::string>(&part);
        bytes += frames != nullptr ? frames->size() : 0;
    }
    return bytes;
}

std::string RequestAnswer::takeText()
{
    return std::move(text());
}

bool RequestAnswer::writePart(std::size_t part, const std::function<bool(std::string_view)> &write) const
{
    if (part >= m_parts.size()) {
        return false;
    }
    if (const auto *frames = std::get_if<std::string>(&m_parts[part])) {
        return write(*frames);
    }
    const auto &[file, bytes] = std::get<FilePart>(m_parts[part]);
    for (std::uint64_t offset = 0; offset < bytes;) {
        const std::string piece = file->read(offset, wire::maxDataBytes);
        std::string frame;
        wire::appendDataHeader(frame, piece.size());
        frame += piece;
        if (piece.empty() || !write(frame)) {
            return false;
        }
        offset += piece.size();
    }
    return true;
}

std::string &RequestAnswer::text()
{
    if (m_parts.empty() || !std::holds_alternative<std::string>(m_parts.back())) {
        m_parts.emplace_back(std::string());
    }
    return std::get<std::string>(m_parts.back());
}

} // namespace appserver
