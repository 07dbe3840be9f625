// SPDX-License-Identifier: MIT
#pragma once

#include "appserver/KnownPasswords.h"
#include "appserver/secrets.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace appserver {

class Database;

/// The people who may log in. Names are compared byte by byte.
class UserStore
{
public:
    enum class Check
    {
        good,
        unknownUser,
        wrongPassword
    };

    /// Whether a client could send it: 1 to 128 bytes, no control characters, no "|".
    [[nodiscard]] static bool isUserName(std::string_view name);

    using Verify = std::function<bool(const std::string &storedHash, std::string_view password)>;

    explicit UserStore(Database &database, Verify verify = verifyPassword)
        : m_database(database), m_verify(std::move(verify))
    {}

    /// False when the name is taken. Throws std::invalid_argument for a name or a password that a client
    /// could not send: empty name, control characters, "|", more than 128 bytes.
    bool add(std::string_view name, std::string_view password);
    /// False when there is no such user.
    bool remove(std::string_view name);
    bool setPassword(std::string_view name, std::string_view password);

    [[nodiscard]] std::vector<std::string> names();
    /// Slow on purpose, but for a password that was right a short while ago.
    [[nodiscard]] Check check(const std::string &name, std::string_view password);

private:
    [[nodiscard]] std::optional<std::string> storedHash(std::string_view name);

    Database &m_database;
    Verify m_verify;
    KnownPasswords m_known;
};

} // namespace appserver
