// SPDX-License-Identifier: MIT
#pragma once

#include "wire/frames.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace vrc {

class RunningHash;

/// The files on the server whose every byte this request has appended: how many bytes they hold, and the hash
/// of them.
class AppendedFiles
{
public:
    AppendedFiles();
    ~AppendedFiles();
    AppendedFiles(const AppendedFiles &) = delete;
    AppendedFiles &operator=(const AppendedFiles &) = delete;

    void created(const std::string &name);
    void appended(const std::string &name, std::string_view bytes);
    void forget(const std::string &name);
    void forgetAll();

    /// No value for files that are not known from their first byte on.
    [[nodiscard]] std::optional<std::uint64_t> size(const std::string &name) const;
    [[nodiscard]] std::optional<wire::Hash> hash(const std::string &name) const;

private:
    struct File
    {
        std::uint64_t bytes = 0;
        std::unique_ptr<RunningHash> hash;
    };

    std::map<std::string, File> m_files;
};

} // namespace vrc
