// SPDX-License-Identifier: MIT
#include "wire/FrameReader.h"

#include <algorithm>

namespace wire {
namespace {

/// Room that is kept from one frame to the next; what a rare long frame took is given back.
constexpr std::size_t keptBytes = 128 * 1024;

} // namespace

FrameReader::Status FrameReader::take(std::string_view &piece)
{
    if (m_isMalformed) {
        return Status::malformed;
    }
    if (m_headerBytes == 0) {
        startFrame();
    }
    if (m_headerBytes < frameHeaderBytes) {
        const Status status = takeHeader(piece);
        if (status != Status::frame) {
            return status;
        }
    }
    takePayload(piece);
    if (m_payload.size() < m_payloadBytes) {
        return Status::needsMore;
    }
    m_headerBytes = 0;
    return Status::frame;
}

/// Status::frame here means that the header is complete.
FrameReader::Status FrameReader::takeHeader(std::string_view &piece)
{
    while (m_headerBytes < frameHeaderBytes && !piece.empty()) {
        const char byte = piece.front();
        piece.remove_prefix(1);
        if (m_headerBytes++ == 0) {
            m_letter = byte;
        } else {
            m_payloadBytes = m_payloadBytes << 8 | static_cast<std::uint8_t>(byte);
        }
    }
    if (m_headerBytes < frameHeaderBytes) {
        return Status::needsMore;
    }
    const std::optional<FrameType> type = frameTypeOf(m_letter, m_direction);
    m_isMalformed =
        !type || m_payloadBytes > maxPayloadBytes(*type) || (*type == FrameType::data && m_payloadBytes == 0);
    if (m_isMalformed) {
        return Status::malformed;
    }
    m_type = *type;
    return Status::frame;
}

void FrameReader::takePayload(std::string_view &piece)
{
    const std::size_t missing = m_payloadBytes - m_payload.size();
    const std::string_view taken = piece.substr(0, missing);
    m_payload.append(taken);
    piece.remove_prefix(taken.size());
}

void FrameReader::startFrame()
{
    m_payloadBytes = 0;
    m_payload.clear();
    if (m_payload.capacity() > keptBytes) {
        m_payload.shrink_to_fit();
    }
}

} // namespace wire
