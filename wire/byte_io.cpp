// SPDX-License-Identifier: MIT
#include "wire/byte_io.h"

#include "wire/utf8.h"

namespace wire {

void appendNumber(std::string &out, std::uint64_t value, std::size_t bytes)
{
    while (bytes-- > 0) {
        out.push_back(static_cast<char>(static_cast<std::uint8_t>(value >> (8 * bytes))));
    }
}

void appendText(std::string &out, std::string_view text)
{
    appendNumber(out, text.size(), 4);
    out.append(text);
}

std::string_view ByteReader::text(std::size_t maxBytes)
{
    const std::uint32_t size = u32();
    if (size > maxBytes) {
        fail();
        return {};
    }
    const std::string_view text = bytes(size);
    if (!isText(text)) {
        fail();
        return {};
    }
    return text;
}

std::string_view ByteReader::bytes(std::size_t count)
{
    if (!m_ok || count > m_rest.size()) {
        fail();
        return {};
    }
    const std::string_view taken = m_rest.substr(0, count);
    m_rest.remove_prefix(count);
    return taken;
}

void ByteReader::fail()
{
    m_ok = false;
    m_rest = {};
}

std::uint64_t ByteReader::number(std::size_t count)
{
    std::uint64_t value = 0;
    for (const char byte : bytes(count)) {
        value = value << 8 | static_cast<std::uint8_t>(byte);
    }
    return value;
}

} // namespace wire
