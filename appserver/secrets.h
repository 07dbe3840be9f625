// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/// Random identifiers, comparisons that tell nothing by their time, and password hashes (libsodium).
namespace appserver {

/// Must be called once before the others; throws std::runtime_error when there is no random source.
void initialiseSecrets();

/// Lower-case hexadecimal of that many random bytes.
[[nodiscard]] std::string randomHex(std::size_t bytes);
/// A password that can be read aloud: groups of letters and digits that are not mistaken for each other.
[[nodiscard]] std::string randomPassword();

/// Equal lengths are compared in a time that does not depend on the contents.
[[nodiscard]] bool equalSecrets(std::string_view left, std::string_view right);

/// A keyed digest to look secrets up by: the time of the look-up tells nothing about a stored one. The key is
/// random and lives as long as the process.
using LookupKey = std::array<std::uint8_t, 32>;
[[nodiscard]] LookupKey lookupKey(std::string_view secret);
/// In a time that does not depend on the contents.
[[nodiscard]] bool equalKeys(const LookupKey &left, const LookupKey &right);

/// Argon2id. Hashing and checking are slow and use memory on purpose, so only a few run at a time.
[[nodiscard]] std::string hashPassword(std::string_view password);
[[nodiscard]] bool verifyPassword(const std::string &hash, std::string_view password);

/// Overwrites the text before it is released.
void wipe(std::string &secret);

} // namespace appserver
