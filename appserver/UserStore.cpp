// SPDX-License-Identifier: MIT
#include "appserver/UserStore.h"

#include "appserver/Database.h"
#include "appserver/secrets.h"

#include <algorithm>
#include <ctime>
#include <stdexcept>

namespace appserver {

namespace {

constexpr std::size_t nameMaxBytes = 128;

bool canBeSent(std::string_view text)
{
    return text.size() <= nameMaxBytes && std::ranges::none_of(text, [](char c) {
               const auto byte = static_cast<unsigned char>(c);
               return byte < 0x20 || byte == 0x7F || c == '|';
           });
}

void requireSendable(std::string_view name, std::string_view password)
{
    if (!UserStore::isUserName(name)) {
        throw std::invalid_argument("a user name has 1 to 128 bytes, no control characters and no '|'");
    }
    if (password.empty() || !canBeSent(password)) {
        throw std::invalid_argument("a password has 1 to 128 bytes, no control characters and no '|'");
    }
}

} // namespace

bool UserStore::isUserName(std::string_view name)
{
    return !name.empty() && canBeSent(name);
}

bool UserStore::add(std::string_view name, std::string_view password)
{
    requireSendable(name, password);
    const std::string hash = hashPassword(password);
    Statement statement(m_database,
                        "INSERT OR IGNORE INTO users (name, password_hash, created_at) VALUES (?, ?, ?)");
    return statement.bind(1, name).bind(2, hash).bind(3, std::int64_t{std::time(nullptr)}).run() == 1;
}

bool UserStore::remove(std::string_view name)
{
    return Statement(m_database, "DELETE FROM users WHERE name = ?").bind(1, name).run() == 1;
}

bool UserStore::setPassword(std::string_view name, std::string_view password)
{
    requireSendable(name, password);
    const std::string hash = hashPassword(password);
    Statement statement(m_database, "UPDATE users SET password_hash = ? WHERE name = ?");
    return statement.bind(1, hash).bind(2, name).run() == 1;
}

std::vector<std::string> UserStore::names()
{
    std::vector<std::string> names;
    Statement statement(m_database, "SELECT name FROM users ORDER BY name");
    while (statement.step()) {
        names.push_back(statement.text(0));
    }
    return names;
}

UserStore::Check UserStore::check(const std::string &name, std::string_view password)
{
    const std::optional<std::string> hash = storedHash(name);
    if (!hash) {
        return Check::unknownUser;
    }
    if (m_known.knows(name, *hash, password)) {
        return Check::good;
    }
    if (!m_verify(*hash, password)) {
        return Check::wrongPassword;
    }
    m_known.remember(name, *hash, password);
    return Check::good;
}

std::optional<std::string> UserStore::storedHash(std::string_view name)
{
    Statement statement(m_database, "SELECT password_hash FROM users WHERE name = ?");
    return statement.bind(1, name).step() ? std::optional(statement.text(0)) : std::nullopt;
}

} // namespace appserver
