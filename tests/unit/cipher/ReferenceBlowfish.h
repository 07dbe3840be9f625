// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <string>

struct evp_cipher_ctx_st;

/// OpenSSL's Blowfish under a key that is loaded with the program's sign extension, as the peer that the
/// program's own cipher is compared with. Keys are 1 to 72 bytes.
class ReferenceBlowfish
{
public:
    explicit ReferenceBlowfish(const std::string &key);
    ~ReferenceBlowfish();

    /// One block of 8 bytes.
    std::string encipher(const std::string &block);

    /// The stored form of a text, cut as the program cuts it.
    std::string storedForm(const std::string &text);

private:
    std::unique_ptr<evp_cipher_ctx_st, void (*)(evp_cipher_ctx_st *)> m_context;
};

/// The 72 bytes that a key without sign extension would need to load the same words.
std::string signExtendedKey(const std::string &key);

/// Bytes of a fixed pseudo-random sequence, each from `low` to `high`.
std::string randomBytes(std::size_t length, int low, int high);
