// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

/// Where a recorded conversation has its seams, one way. All numbers count bytes from its beginning.
struct ConversationLayout
{
    std::vector<bool> isPayload;           ///< of each byte: contents of the document, not framing
    std::vector<std::uint64_t> boundaries; ///< the end of each frame (plain) or record (TLS), in order

    /// Every framing byte, and every `stride`th byte of the payload.
    [[nodiscard]] std::vector<std::uint64_t> positions(std::size_t stride) const;
};

/// HTTP messages with bodies of frames, one after the other.
[[nodiscard]] ConversationLayout layoutOfPlain(std::string_view bytes);

/// TLS records. The contents of a record of more than a kilobyte count as payload.
[[nodiscard]] ConversationLayout layoutOfTls(std::string_view bytes);
