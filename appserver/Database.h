// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace appserver {

[[nodiscard]] std::filesystem::path databaseFileIn(const std::filesystem::path &dataFolder);

/// The SQLite database of a data folder: users and documents. Values always travel as bound parameters. One
/// connection, used by one thread at a time through Statement; several processes may open the same folder.
class Database
{
public:
    /// Creates the file and its tables where they are missing. Throws std::runtime_error.
    explicit Database(const std::filesystem::path &path);

private:
    friend class Statement;

    struct Closer
    {
        void operator()(sqlite3 *handle) const;
    };

    void execute(const char *sql);

    std::unique_ptr<sqlite3, Closer> m_handle;
    std::mutex m_mutex;
};

/// One statement. It holds the connection for as long as it lives, so it must not live long, and a thread
/// must not have two at a time.
class Statement
{
public:
    Statement(Database &database, std::string_view sql);
    Statement(const Statement &) = delete;
    Statement &operator=(const Statement &) = delete;

    /// Parameters count from 1.
    Statement &bind(int parameter, std::string_view text);
    Statement &bind(int parameter, std::int64_t number);

    /// True while there is a row. Throws std::runtime_error.
    bool step();
    /// Runs a statement without rows and says how many rows it changed.
    int run();

    /// Columns count from 0.
    [[nodiscard]] std::string text(int column) const;
    [[nodiscard]] std::int64_t number(int column) const;

private:
    struct Finalizer
    {
        void operator()(sqlite3_stmt *statement) const;
    };

    std::unique_lock<std::mutex> m_lock;
    sqlite3 *m_database;
    std::unique_ptr<sqlite3_stmt, Finalizer> m_statement;
};

} // namespace appserver
