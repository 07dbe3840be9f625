// SPDX-License-Identifier: MIT
#pragma once

#include "tests/support/TemporaryFolder.h"
#include "tests/support/file_bytes.h"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

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
