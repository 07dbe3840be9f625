// SPDX-License-Identifier: MIT
#include "vrc/SocketLog.h"

#include "wire/fields.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <ctime>

namespace vrc {
namespace {

constexpr std::size_t maxLoggedBytes = 1024;

std::string timeNow()
{
    const auto now = std::chrono::system_clock::now();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    const auto part =
        std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
    std::tm utc = {};
    gmtime_r(&seconds, &utc);
    std::array<char, 32> text{};
    const std::size_t length = std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &utc);
    std::array<char, 8> fraction{};
    std::snprintf(fraction.data(), fraction.size(), ".%03dZ", static_cast<int>(part));
    return std::string(text.data(), length) + fraction.data();
}

std::string escaped(std::string_view text)
{
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string out;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x20 && byte != 0x7f) {
            out.push_back(c);
            continue;
        }
        out.append("\\x").append(1, digits[byte >> 4]).append(1, digits[byte & 15]);
    }
    return out;
}

std::FILE *openLog(const std::string &path)
{
    const int descriptor =
        open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR);
    std::FILE *file = descriptor < 0 ? nullptr : fdopen(descriptor, "a");
    if (file == nullptr && descriptor >= 0) {
        close(descriptor);
    }
    return file;
}

} // namespace

SocketLog::SocketLog(const std::string &path) : m_file(path.empty() ? nullptr : openLog(path))
{}

void SocketLog::request(std::string_view what)
{
    ++m_number;
    if (m_file) {
        line("request " + escaped(loggedCommand(what)));
    }
}

void SocketLog::answer(std::string_view outcome, const ExchangeFigures &figures)
{
    line("answer " + escaped(outcome) + ", HTTP " + std::to_string(figures.status) + ", sent " +
         std::to_string(figures.sentBytes) + " bytes, received " + std::to_string(figures.receivedBytes) +
         " bytes, " + std::to_string(figures.elapsed.count() / 1000) + " ms, " +
         (figures.isNewConnection ? "new connection" : "kept connection"));
}

void SocketLog::line(std::string_view text)
{
    if (m_file) {
        std::fprintf(m_file.get(), "%s %llu %.*s\n", timeNow().c_str(),
                     static_cast<unsigned long long>(m_number), static_cast<int>(text.size()), text.data());
        std::fflush(m_file.get());
    }
}

std::string loggedCommand(std::string_view line)
{
    std::string masked = wire::maskSecrets(line);
    if (masked.size() > maxLoggedBytes) {
        masked.resize(maxLoggedBytes);
        masked.append("...");
    }
    return masked;
}

} // namespace vrc
