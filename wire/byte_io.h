// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/// Integers (unsigned, big-endian) and texts (32-bit length, then UTF-8) in a payload.
namespace wire {

void appendNumber(std::string &out, std::uint64_t value, std::size_t bytes);
void appendText(std::string &out, std::string_view text);

/// Reads from the front of a payload. After the first value that is missing or malformed every further one is
/// empty and ok() is false, so that a decoder checks once, at its end.
class ByteReader
{
public:
    explicit ByteReader(std::string_view bytes) : m_rest(bytes) {}

    [[nodiscard]] std::uint8_t u8() { return static_cast<std::uint8_t>(number(1)); }

    [[nodiscard]] std::uint16_t u16() { return static_cast<std::uint16_t>(number(2)); }

    [[nodiscard]] std::uint32_t u32() { return static_cast<std::uint32_t>(number(4)); }

    [[nodiscard]] std::uint64_t u64() { return number(8); }

    /// A view into the payload. Malformed: not UTF-8, or longer than maxBytes.
    [[nodiscard]] std::string_view text(std::size_t maxBytes);
    [[nodiscard]] std::string_view bytes(std::size_t count);

    [[nodiscard]] std::string_view rest() { return bytes(m_rest.size()); }

    [[nodiscard]] bool ok() const { return m_ok; }

    [[nodiscard]] bool atEnd() const { return m_rest.empty(); }

    /// Everything was there and nothing is left over.
    [[nodiscard]] bool complete() const { return m_ok && m_rest.empty(); }

    void fail();

private:
    std::uint64_t number(std::size_t count);

    std::string_view m_rest;
    bool m_ok = true;
};

} // namespace wire
