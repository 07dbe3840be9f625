// SPDX-License-Identifier: MIT
#include "appserver/Database.h"

#include <sqlite3.h>

#include <stdexcept>

namespace appserver {

namespace {

constexpr int busyTimeoutMs = 10'000;

constexpr const char *schema = R"(
CREATE TABLE IF NOT EXISTS users (
    name TEXT PRIMARY KEY,
    password_hash TEXT NOT NULL,
    created_at INTEGER NOT NULL
) STRICT;
CREATE TABLE IF NOT EXISTS documents (
    id TEXT PRIMARY KEY,
    owner TEXT NOT NULL,
    queue TEXT NOT NULL,
    format TEXT NOT NULL,
    bytes INTEGER NOT NULL,
    xxh3 TEXT NOT NULL,
    print_mode TEXT NOT NULL,
    printer_name TEXT NOT NULL,
    file_name TEXT NOT NULL,
    client_machine TEXT NOT NULL,
    client_user TEXT NOT NULL,
    tunnel_service TEXT NOT NULL,
    tunnel_profile TEXT NOT NULL,
    state TEXT NOT NULL,
    created_at INTEGER NOT NULL,
    copies INTEGER NOT NULL DEFAULT 1,
    paper TEXT NOT NULL DEFAULT '',
    colour TEXT NOT NULL DEFAULT '',
    duplex TEXT NOT NULL DEFAULT '',
    staple TEXT NOT NULL DEFAULT '',
    note TEXT NOT NULL DEFAULT ''
) STRICT;
CREATE INDEX IF NOT EXISTS documents_by_age ON documents (created_at);
)";

[[noreturn]] void throwDatabaseError(sqlite3 *handle)
{
    throw std::runtime_error(std::string("database: ") + sqlite3_errmsg(handle));
}

} // namespace

std::filesystem::path databaseFileIn(const std::filesystem::path &dataFolder)
{
    return dataFolder / "vrserver.db";
}

void Database::Closer::operator()(sqlite3 *handle) const
{
    sqlite3_close_v2(handle);
}

Database::Database(const std::filesystem::path &path)
{
    sqlite3 *handle = nullptr;
    const int status = sqlite3_open_v2(
        path.c_str(), &handle, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_FULLMUTEX, nullptr);
    m_handle.reset(handle);
    if (status != SQLITE_OK) {
        throwDatabaseError(handle);
    }
    sqlite3_busy_timeout(handle, busyTimeoutMs);
    execute("PRAGMA journal_mode=WAL");
    execute("PRAGMA synchronous=FULL");
    execute(schema);
}

void Database::execute(const char *sql)
{
    if (sqlite3_exec(m_handle.get(), sql, nullptr, nullptr, nullptr) != SQLITE_OK) {
        throwDatabaseError(m_handle.get());
    }
}

void Statement::Finalizer::operator()(sqlite3_stmt *statement) const
{
    sqlite3_finalize(statement);
}

Statement::Statement(Database &database, std::string_view sql)
    : m_lock(database.m_mutex), m_database(database.m_handle.get())
{
    sqlite3_stmt *statement = nullptr;
    if (sqlite3_prepare_v2(m_database, sql.data(), static_cast<int>(sql.size()), &statement, nullptr) !=
        SQLITE_OK) {
        throwDatabaseError(m_database);
    }
    m_statement.reset(statement);
}

Statement &Statement::bind(int parameter, std::string_view text)
{
    // An empty view may have no data, which would bind NULL.
    const char *data = text.data() != nullptr ? text.data() : "";
    if (sqlite3_bind_text64(m_statement.get(), parameter, data, text.size(), SQLITE_TRANSIENT, SQLITE_UTF8) !=
        SQLITE_OK) {
        throwDatabaseError(m_database);
    }
    return *this;
}

Statement &Statement::bind(int parameter, std::int64_t number)
{
    if (sqlite3_bind_int64(m_statement.get(), parameter, number) != SQLITE_OK) {
        throwDatabaseError(m_database);
    }
    return *this;
}

bool Statement::step()
{
    switch (sqlite3_step(m_statement.get())) {
    case SQLITE_ROW:
        return true;
    case SQLITE_DONE:
        return false;
    default:
        throwDatabaseError(m_database);
    }
}

int Statement::run()
{
    while (step()) {
    }
    return sqlite3_changes(m_database);
}

std::string Statement::text(int column) const
{
    const void *bytes = sqlite3_column_blob(m_statement.get(), column);
    const int length = sqlite3_column_bytes(m_statement.get(), column);
    return bytes == nullptr ? std::string()
                            : std::string(static_cast<const char *>(bytes), static_cast<std::size_t>(length));
}

std::int64_t Statement::number(int column) const
{
    return sqlite3_column_int64(m_statement.get(), column);
}

} // namespace appserver
