// SPDX-License-Identifier: MIT
#include "tests/unit/cipher/ReferenceBlowfish.h"

#include <openssl/evp.h>
#include <openssl/provider.h>

#include <algorithm>
#include <cctype>
#include <iomanip>
#include <random>
#include <sstream>
#include <stdexcept>

namespace {

void require(bool succeeded, const char *what)
{
    if (!succeeded) {
        throw std::runtime_error(std::string(what) + " failed (Debian package libssl3, its legacy provider)");
    }
}

const unsigned char *bytesOf(const std::string &text)
{
    return reinterpret_cast<const unsigned char *>(text.data());
}

/// OpenSSL's providers; the legacy one has Blowfish.
class Providers
{
public:
    Providers() : m_default(load("default")), m_legacy(load("legacy")) {}

private:
    using Provider = std::unique_ptr<OSSL_PROVIDER, int (*)(OSSL_PROVIDER *)>;

    static Provider load(const char *name)
    {
        Provider provider(OSSL_PROVIDER_load(nullptr, name), OSSL_PROVIDER_unload);
        require(provider != nullptr, name);
        return provider;
    }

    Provider m_default;
    Provider m_legacy;
};

} // namespace

ReferenceBlowfish::ReferenceBlowfish(const std::string &key)
    : m_context(EVP_CIPHER_CTX_new(), EVP_CIPHER_CTX_free)
{
    static const Providers providers;
    const std::string words = signExtendedKey(key);
    EVP_CIPHER_CTX *context = m_context.get();
    require(EVP_EncryptInit_ex(context, EVP_bf_ecb(), nullptr, nullptr, nullptr) == 1, "Blowfish");
    require(EVP_CIPHER_CTX_set_key_length(context, static_cast<int>(words.size())) == 1, "key length");
    require(EVP_EncryptInit_ex(context, nullptr, nullptr, bytesOf(words), nullptr) == 1, "key");
    EVP_CIPHER_CTX_set_padding(context, 0);
}

ReferenceBlowfish::~ReferenceBlowfish() = default;

std::string ReferenceBlowfish::encipher(const std::string &block)
{
    std::string out(16, '\0');
    int length = 0;
    require(EVP_EncryptUpdate(m_context.get(), reinterpret_cast<unsigned char *>(out.data()), &length,
                              bytesOf(block), static_cast<int>(block.size())) == 1,
            "enciphering");
    out.resize(static_cast<std::size_t>(length));
    return out;
}

std::string ReferenceBlowfish::storedForm(const std::string &text)
{
    const std::size_t pad = (8 - text.size() % 8) % 8;
    const std::string padded = text + std::string(pad, '0');
    std::string binary = "VR1" + std::to_string(pad) + "0000";
    for (std::size_t at = 0; at < padded.size(); at += 8) {
        std::string block = padded.substr(at, 8);
        do {
            block = encipher(block);
        } while (block.find('\0') != std::string::npos);
        binary += block;
    }
    std::ostringstream stored;
    stored << std::hex << std::uppercase << std::setfill('0');
    for (const char byte : binary.substr(0, 126)) {
        stored << std::setw(2) << int{static_cast<unsigned char>(byte)};
    }
    return stored.str();
}

std::string signExtendedKey(const std::string &key)
{
    std::string words;
    for (std::size_t at = 0; words.size() < 72; at += 4) {
        std::string word;
        for (std::size_t i = at; i < at + 4; ++i) {
            const char byte = key[i % key.size()];
            if (static_cast<unsigned char>(byte) >= 0x80) {
                std::fill(word.begin(), word.end(), '\xFF');
            }
            word += byte;
        }
        words += word;
    }
    return words;
}

std::string randomBytes(std::size_t length, int low, int high)
{
    static std::mt19937 generator(20261120);
    std::uniform_int_distribution<int> distribution(low, high);
    std::string bytes(length, '\0');
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(distribution(generator)); });
    return bytes;
}
