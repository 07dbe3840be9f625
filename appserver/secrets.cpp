// SPDX-License-Identifier: MIT
#include "appserver/secrets.h"

#include <sodium.h>

#include <semaphore>
#include <stdexcept>
#include <vector>

namespace appserver {

namespace {

/// 19 MiB and two passes: the smallest memory that is recommended for Argon2id, so that many logins at once
/// fit.
constexpr unsigned long long argonPasses = 2;
constexpr std::size_t argonBytes = std::size_t{19} * 1024 * 1024;

std::counting_semaphore<> &hashingPlaces()
{
    static std::counting_semaphore<> places(2);
    return places;
}

class HashingPlace
{
public:
    HashingPlace() { hashingPlaces().acquire(); }

    ~HashingPlace() { hashingPlaces().release(); }

    HashingPlace(const HashingPlace &) = delete;
    HashingPlace &operator=(const HashingPlace &) = delete;
};

} // namespace

void initialiseSecrets()
{
    if (sodium_init() < 0) {
        throw std::runtime_error("the cryptographic library cannot be initialised");
    }
}

std::string randomHex(std::size_t bytes)
{
    std::vector<unsigned char> random(bytes);
    randombytes_buf(random.data(), random.size());
    std::string hex(bytes * 2 + 1, '\0');
    sodium_bin2hex(hex.data(), hex.size(), random.data(), random.size());
    hex.pop_back();
    return hex;
}

std::string randomPassword()
{
    constexpr std::string_view letters = "abcdefghjkmnpqrstuvwxyz23456789";
    std::string password;
    for (int i = 0; i < 16; ++i) {
        if (i != 0 && i % 4 == 0) {
            password += '-';
        }
        password += letters[randombytes_uniform(static_cast<std::uint32_t>(letters.size()))];
    }
    return password;
}

bool equalSecrets(std::string_view left, std::string_view right)
{
    return left.size() == right.size() && sodium_memcmp(left.data(), right.data(), left.size()) == 0;
}

LookupKey lookupKey(std::string_view secret)
{
    static const LookupKey processKey = [] {
        LookupKey key;
        randombytes_buf(key.data(), key.size());
        return key;
    }();
    std::vector<unsigned char> bytes(secret.begin(), secret.end());
    LookupKey digest;
    crypto_generichash(digest.data(), digest.size(), bytes.data(), bytes.size(), processKey.data(),
                       processKey.size());
    sodium_memzero(bytes.data(), bytes.size());
    return digest;
}

bool equalKeys(const LookupKey &left, const LookupKey &right)
{
    return sodium_memcmp(left.data(), right.data(), left.size()) == 0;
}

std::string hashPassword(std::string_view password)
{
    const HashingPlace place;
    std::string hash(crypto_pwhash_STRBYTES, '\0');
    if (crypto_pwhash_str_alg(hash.data(), password.data(), password.size(), argonPasses, argonBytes,
                              crypto_pwhash_ALG_ARGON2ID13) != 0) {
        throw std::runtime_error("not enough memory to hash a password");
    }
    hash.resize(hash.find('\0'));
    return hash;
}

bool verifyPassword(const std::string &hash, std::string_view password)
{
    const HashingPlace place;
    return crypto_pwhash_str_verify(hash.c_str(), password.data(), password.size()) == 0;
}

void wipe(std::string &secret)
{
    sodium_memzero(secret.data(), secret.size());
    secret.clear();
}

} // namespace appserver
