// SPDX-License-Identifier: MIT
#pragma once

#include "wire/frames.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace wire {

/// Takes frames out of a body that arrives in pieces of any size. Holds at most one frame, and never more of
/// it than has arrived, whatever length the frame claims.
///
///     while (!piece.empty()) {
///         switch (reader.take(piece)) { case Status::frame: use(reader.type(), reader.payload()); ... }
///     }
class FrameReader
{
public:
    enum class Status
    {
        needsMore, ///< the piece is used up, a frame is not complete
        frame,     ///< type() and payload() are the next frame, until the next call; the piece may hold more
        malformed, ///< unknown type or too long: nothing more can be read
    };

    explicit FrameReader(Direction direction) : m_direction(direction) {}

    /// Consumes bytes from the front of `piece`, up to the end of the next frame.
    [[nodiscard]] Status take(std::string_view &piece);

    [[nodiscard]] FrameType type() const { return m_type; }

    [[nodiscard]] std::string_view payload() const { return m_payload; }

    /// False when a body that ends now ends inside a frame.
    [[nodiscard]] bool isBetweenFrames() const { return m_headerBytes == 0 && !m_isMalformed; }

private:
    Status takeHeader(std::string_view &piece);
    void takePayload(std::string_view &piece);
    void startFrame();

    Direction m_direction;
    FrameType m_type = FrameType::end;
    std::string m_payload;
    std::uint32_t m_payloadBytes = 0;
    std::size_t m_headerBytes = 0;
    char m_letter = 0;
    bool m_isMalformed = false;
};

} // namespace wire
