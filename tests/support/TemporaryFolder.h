// SPDX-License-Identifier: MIT
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
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

    [[nodiscard]] std::string read(const std::string &name) const
    {
        std::ifstream stream(m_path / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    }

private:
    std::filesystem::path m_path;
};
