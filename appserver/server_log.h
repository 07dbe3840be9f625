// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <exception>
#include <filesystem>
#include <string>
#include <string_view>

namespace appserver {

/// One line on standard error: what an administrator must know. Control characters become \xHH.
void logLine(std::string_view text);
/// "WHAT: " and the exception's text. Needs no memory where there is none: it stands where nothing may throw.
void logFailure(std::string_view what, const std::exception &trouble) noexcept;

/// 2026-11-20T21:00:00.123Z
[[nodiscard]] std::string timestamp();
/// The text without control characters and double quotes, cut to a bearable length.
[[nodiscard]] std::string forLog(std::string_view text);

/// One line for each request. Holds no query and nothing of a body: both may carry secrets.
class AccessLog
{
public:
    struct Entry
    {
        std::string remoteAddress;
        std::string method;
        std::string path;
        int status = 0;
        std::uint64_t bytesIn = 0;
        std::uint64_t bytesOut = 0;
        std::int64_t milliseconds = 0;
    };

    explicit AccessLog(std::filesystem::path path);
    /// After the file was renamed: goes on with a new one.
    void reopen();
    void write(const Entry &entry);

private:
    std::filesystem::path m_path;
    int m_fd = -1; ///< kept for the life of the process
};

} // namespace appserver
