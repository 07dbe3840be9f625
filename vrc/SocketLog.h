// SPDX-License-Identifier: MIT
#pragma once

#include "vrc/Transport.h"

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

namespace vrc {

/// A line for each request and each answer: time (UTC), number of the exchange, what, sizes, times. The
/// values of passwords are masked, control characters written as \xHH. A log that cannot be written is left
/// out.
class SocketLog
{
public:
    /// An empty path gives a log that writes nothing.
    explicit SocketLog(const std::string &path);

    void request(std::string_view what);
    void answer(std::string_view outcome, const ExchangeFigures &figures);

private:
    struct CloseFile
    {
        void operator()(std::FILE *file) const { std::fclose(file); }
    };

    void line(std::string_view text);

    std::unique_ptr<std::FILE, CloseFile> m_file;
    std::uint64_t m_number = 0;
};

/// The command line as it stands in a log: one line, without secrets, of bounded length.
[[nodiscard]] std::string loggedCommand(std::string_view line);

} // namespace vrc
