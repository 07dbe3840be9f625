// SPDX-License-Identifier: MIT
#include "tests/torture/conversation_layout.h"

#include "wire/frames.h"

#include <algorithm>
#include <cstdlib>
#include <stdexcept>
#include <string>

namespace {

constexpr std::size_t tlsHeaderBytes = 5;
constexpr std::size_t longRecordBytes = 1024;

std::size_t number(std::string_view bytes, std::size_t at, std::size_t count)
{
    std::size_t value = 0;
    for (std::size_t i = 0; i < count; ++i) {
        value = value << 8U | static_cast<unsigned char>(bytes.at(at + i));
    }
    return value;
}

/// For each byte of the bodies of all messages, in order, where it stands in the conversation.
class BodyBytes
{
public:
    explicit BodyBytes(std::string_view bytes) : m_bytes(bytes)
    {
        for (std::size_t at = 0; at < bytes.size();) {
            at = takeMessage(at);
        }
    }

    [[nodiscard]] const std::vector<std::size_t> &places() const { return m_places; }

private:
    [[nodiscard]] std::size_t find(std::string_view text, std::size_t from) const
    {
        const std::size_t found = m_bytes.find(text, from);
        if (found == std::string_view::npos) {
            throw std::runtime_error("the recorded conversation is no sequence of HTTP messages");
        }
        return found;
    }

    std::size_t takeMessage(std::size_t at)
    {
        const std::size_t body = find("\r\n\r\n", at) + 4;
        const std::string header(m_bytes.substr(at, body - at));
        if (header.find("Transfer-Encoding: chunked") != std::string::npos) {
            return takeChunks(body);
        }
        const std::size_t length = header.find("Content-Length: ");
        return takeBytes(
            body, length == std::string::npos ? 0 : std::strtoul(header.c_str() + length + 16, nullptr, 10));
    }

    std::size_t takeChunks(std::size_t at)
    {
        while (true) {
            const std::size_t start = find("\r\n", at) + 2;
            const std::size_t count =
                std::strtoul(std::string(m_bytes.substr(at, start - at)).c_str(), nullptr, 16);
            at = takeBytes(start, count) + 2;
            if (count == 0) {
                return at;
            }
        }
    }

    std::size_t takeBytes(std::size_t at, std::size_t count)
    {
        for (std::size_t i = 0; i < count; ++i) {
            m_places.push_back(at + i);
        }
        return at + count;
    }

    std::string_view m_bytes;
    std::vector<std::size_t> m_places;
};

} // namespace

std::vector<std::uint64_t> ConversationLayout::positions(std::size_t stride) const
{
    std::vector<std::uint64_t> chosen;
    std::size_t payload = 0;
    for (std::size_t at = 0; at < isPayload.size(); ++at) {
        if (!isPayload[at] || payload++ % stride == 0) {
            chosen.push_back(at);
        }
    }
    return chosen;
}

ConversationLayout layoutOfPlain(std::string_view bytes)
{
    ConversationLayout layout;
    layout.isPayload.resize(bytes.size());
    const BodyBytes body(bytes);
    const std::vector<std::size_t> &places = body.places();
    for (std::size_t at = 0; at + wire::frameHeaderBytes <= places.size();) {
        std::string header;
        for (std::size_t i = 0; i < wire::frameHeaderBytes; ++i) {
            header.push_back(bytes.at(places[at + i]));
        }
        const std::size_t end = at + wire::frameHeaderBytes + number(header, 1, 4);
        for (std::size_t i = at + wire::frameHeaderBytes; i < end && header[0] == 'D'; ++i) {
            layout.isPayload[places.at(i)] = true;
        }
        layout.boundaries.push_back(places.at(end - 1) + 1);
        at = end;
    }
    return layout;
}

ConversationLayout layoutOfTls(std::string_view bytes)
{
    ConversationLayout layout;
    layout.isPayload.resize(bytes.size());
    for (std::size_t at = 0; at + tlsHeaderBytes <= bytes.size();) {
        const std::size_t start = at + tlsHeaderBytes;
        const std::size_t end = start + number(bytes, at + 3, 2);
        const bool isLong = end - start > longRecordBytes;
        for (std::size_t i = start; i < std::min(end, bytes.size()); ++i) {
            layout.isPayload[i] = isLong;
        }
        layout.boundaries.push_back(end);
        at = end;
    }
    return layout;
}
