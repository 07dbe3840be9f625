// SPDX-License-Identifier: MIT
#include "appserver/server_log.h"

#include "appserver/server_files.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <ctime>

namespace appserver {

namespace {

constexpr std::size_t maxLoggedBytes = 256;

bool isPlain(char c)
{
    return static_cast<unsigned char>(c) >= 0x20 && c != 0x7F && c != '"' && c != '\\';
}

/// One call, so that lines of several threads do not mix.
void writeLine(int fd, std::string_view line)
{
    if (::write(fd, line.data(), line.size()) < 0) {
        // A full disk must not stop the service, and there is nowhere to say so.
        return;
    }
}

} // namespace

void logLine(std::string_view text)
{
    writeLine(STDERR_FILENO, "vrserver: " + forLog(text) + '\n');
}

void logFailure(std::string_view what, const std::exception &trouble) noexcept
{
    try {
        logLine(std::string(what) + ": " + trouble.what());
    } catch (const std::exception &) {
        writeLine(STDERR_FILENO, "vrserver: something failed, and there is no memory to say what\n");
    }
}

std::string timestamp()
{
    const auto now = std::chrono::system_clock::now();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    const auto ms =
        std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
    std::tm parts{};
    ::gmtime_r(&seconds, &parts);
    std::array<char, 32> text{};
    const std::size_t length = std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &parts);
    std::array<char, 8> fraction{};
    std::snprintf(fraction.data(), fraction.size(), ".%03dZ", static_cast<int>(ms));
    return std::string(text.data(), length) + fraction.data();
}

std::string forLog(std::string_view text)
{
    std::string plain;
    for (const char c : text.substr(0, maxLoggedBytes)) {
        if (isPlain(c)) {
            plain += c;
            continue;
        }
        std::array<char, 5> escaped{};
        std::snprintf(escaped.data(), escaped.size(), "\\x%02X",
                      static_cast<unsigned int>(static_cast<unsigned char>(c)));
        plain += escaped.data();
    }
    return plain;
}

AccessLog::AccessLog(std::filesystem::path path) : m_path(std::move(path))
{
    m_fd = ::open(m_path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (m_fd < 0) {
        throwSystemError("cannot open " + m_path.string());
    }
}

void AccessLog::reopen()
{
    const UniqueFd next(::open(m_path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (next) {
        // The number stays the same, so that writing threads need no lock.
        ::dup3(next.get(), m_fd, O_CLOEXEC);
    }
}

void AccessLog::write(const Entry &entry)
{
    writeLine(m_fd, timestamp() + ' ' + entry.remoteAddress + ' ' + forLog(entry.method) + " \"" +
                        forLog(entry.path) + "\" " + std::to_string(entry.status) +
                        " in=" + std::to_string(entry.bytesIn) + " out=" + std::to_string(entry.bytesOut) +
                        " ms=" + std::to_string(entry.milliseconds) + '\n');
}

} // namespace appserver
