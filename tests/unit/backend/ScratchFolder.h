// SPDX-License-Identifier: MIT
#pragma once

#include "tests/support/file_bytes.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

/// A folder that exists as long as the object, and what tests do with files.
class ScratchFolder
{
public:
    ScratchFolder()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "varek-backend-XXXXXX").string();
        m_path = ::mkdtemp(pattern.data());
    }

    ScratchFolder(const ScratchFolder &) = delete;
    ScratchFolder &operator=(const ScratchFolder &) = delete;

    ~ScratchFolder() { std::filesystem::remove_all(m_path); }

    [[nodiscard]] std::filesystem::path path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

inline std::string contents(const std::filesystem::path &file)
{
    return fileBytes(file);
}

inline void writeFile(const std::filesystem::path &file, const std::string &text, mode_t mode = 0600)
{
    std::ofstream(file, std::ios::binary) << text;
    ::chmod(file.c_str(), mode);
}

inline mode_t modeOf(const std::filesystem::path &file)
{
    struct stat status
    {};

    return ::lstat(file.c_str(), &status) == 0 ? status.st_mode & 07777U : 0;
}

/// The names in a folder, sorted; none when there is no such folder.
inline std::vector<std::string> namesIn(const std::filesystem::path &folder)
{
    std::vector<std::string> names;
    if (std::filesystem::exists(folder)) {
        for (const auto &entry : std::filesystem::directory_iterator(folder)) {
            names.push_back(entry.path().filename());
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}
