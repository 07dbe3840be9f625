// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

/// Reading and writing of files on this machine. Everything here throws Failure: LOCAL/REQUEST/125 where a
/// file cannot be read, 126 where one cannot be written.
namespace vrc {

[[noreturn]] void failRead(const std::string &path, int error);
[[noreturn]] void failWrite(const std::string &path, int error);

/// Which file something is: its device and number. A descriptor's never changes while it is open.
using FileIdentity = std::pair<dev_t, ino_t>;

/// Of a file that is there: which one it is, and its length.
struct FileStatus
{
    FileIdentity identity;
    std::uint64_t bytes = 0;
};

/// No value when there is none.
[[nodiscard]] std::optional<FileStatus> statusOf(int descriptor);
[[nodiscard]] std::optional<FileStatus> statusOf(const std::string &path);

/// Fills the bytes of the buffer from `place` on with those of the file from `offset` on; a file that has
/// become shorter is an error, which names the path.
void readFully(int descriptor, const std::string &path, std::uint64_t offset, std::string &buffer,
               std::size_t place);

/// A file that is being written: created readable by its owner alone, or emptied. Links are not followed.
class FileWriter
{
public:
    explicit FileWriter(const std::string &path);
    ~FileWriter();
    FileWriter(const FileWriter &) = delete;
    FileWriter &operator=(const FileWriter &) = delete;

    void write(std::string_view bytes);
    void close(); ///< reports what the destructor cannot

private:
    std::string m_path;
    int m_descriptor = -1;
};

/// A file that is read from a position of the caller's.
class FileReader
{
public:
    explicit FileReader(const std::string &path);
    ~FileReader();
    FileReader(const FileReader &) = delete;
    FileReader &operator=(const FileReader &) = delete;

    [[nodiscard]] std::uint64_t size() const { return m_size; }

    [[nodiscard]] const std::string &path() const { return m_path; }

    [[nodiscard]] int descriptor() const { return m_descriptor; }

    /// Fills `bytes` completely; a file that has become shorter is an error.
    void read(std::uint64_t offset, std::string &bytes, std::size_t count) const;

    /// The same at the end of `target`.
    void append(std::uint64_t offset, std::string &target, std::size_t count) const;

private:
    std::string m_path;
    int m_descriptor = -1;
    std::uint64_t m_size = 0;
};

/// Writing a file while it is read would destroy it: an error when the path leads to the file that is read.
void refuseToOverwrite(const FileReader &source, const std::string &path);

/// A new empty file of the owner alone in the folder for temporary files; gives its path.
[[nodiscard]] std::string createTemporaryFile();

} // namespace vrc
