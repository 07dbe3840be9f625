// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

/// The MD5 message digest of RFC 1321. Nothing here is meant to keep anybody from forging anything.
class MyMD5
{
public:
    MyMD5();

    /// Digests an open stream, which is closed then, and finalizes.
    explicit MyMD5(std::FILE *file);

    /// Back to the state of a new object.
    void init();

    /// Adds bytes. Without effect once finalized.
    void update(const unsigned char *bytes, std::uint32_t length);

    /// Adds what an open stream still holds, up to its end or a read error, and closes it.
    void update(std::FILE *file);

    void finalize();

    /// The digest as 32 lower-case hexadecimal digits; empty before `finalize`.
    [[nodiscard]] std::string hex_digest() const;

private:
    static constexpr std::uint32_t blockBytes = 64;

    void transform(const std::uint8_t *block);

    static void encode(std::uint8_t *output, const std::uint32_t *input, std::size_t length);
    static void decode(std::uint32_t *output, const std::uint8_t *input, std::size_t length);
    // In parentheses, since some systems' headers make macros of these names.
    static void(memcpy)(std::uint8_t *output, const std::uint8_t *input, std::size_t length);
    static void(memset)(std::uint8_t *output, std::uint8_t value, std::size_t length);

    std::array<std::uint32_t, 4> m_state;
    std::array<std::uint32_t, 2> m_bitCount; ///< low word first
    std::array<std::uint8_t, blockBytes> m_buffer;
    std::array<std::uint8_t, 16> m_digest;
    bool m_finalized;
};

/// Digests as 32 lower-case hexadecimal digits: of a text up to its NUL, of a string's bytes, of `length`
/// bytes.
[[nodiscard]] std::string MD5_string(const char *text);
[[nodiscard]] std::string MD5_string(const std::string &text);
[[nodiscard]] std::string MD5_bytes(const unsigned char *bytes, std::uint32_t length);

/// The digest of a file's contents; empty when it cannot be opened. The path is in UTF-8.
[[nodiscard]] std::string MD5_file(const char *path);
