// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>
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

    explicit UserStore(Database &database) : m_database(database) {}

    /// False when the name is taken. Throws std::invalid_argument for a name or a password that a client
    /// could not send: empty name, control characters, "|", more than 128 bytes.
    bool add(std::string_view name, std::string_view password);
    /// False when there is no such user.
    bool remove(std::string_view name);
    bool setPassword(std::string_view name, std::string_view password);

    [[nodiscard]] std::vector<std::string> names();
    /// Slow on purpose.
    [[nodiscard]] Check check(std::string_view name, std::string_view password);

private:
    Database &m_database;
};

} // namespace appserver
