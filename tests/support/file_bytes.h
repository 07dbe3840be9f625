// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>

/// All of a file; empty when it cannot be read.
inline std::string fileBytes(const std::filesystem::path &file)
{
    std::ostringstream bytes;
    bytes << std::ifstream(file, std::ios::binary).rdbuf();
    return std::move(bytes).str();
}
