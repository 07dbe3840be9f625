// SPDX-License-Identifier: MIT
#pragma once

#include "tests/support/file_bytes.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

/// A folder that is removed with this object.
class TemporaryFolder
{
public:
    TemporaryFolder()
    {
        std::string name = (std::filesystem::temp_directory_path() / "vrc-test-XXXXXX").string();
        if (::mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("cannot create a temporary folder");
        }
        m_path = name;
    }

    TemporaryFolder(const TemporaryFolder &) = delete;
    TemporaryFolder &operator=(const TemporaryFolder &) = delete;

    ~TemporaryFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }

    [[nodiscard]] const std::filesystem::path &path() const { return m_path; }

    [[nodiscard]] std::string file(const std::string &name) const { return (m_path / name).string(); }

    std::string write(const std::string &name, const std::string &bytes) const
    {
        std::ofstream(m_path / name, std::ios::binary) << bytes;
        return file(name);
    }

    [[nodiscard]] std::string read(const std::string &name) const { return fileBytes(m_path / name); }

private:
    std::filesystem::path m_path;
};
