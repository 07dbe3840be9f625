// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

/// Objects of type FILE. Everything here throws Failure: LOCAL/REQUEST/125 where a file cannot be read, 126
/// where one cannot be written, 130 where it is 2^31 bytes or longer.
namespace vrc {

/// Bytes of another local file, of which an object is a copy.
struct FileSlice
{
    std::string path;
    std::uint64_t offset = 0;
    std::uint64_t bytes = 0;
};

class CopyDescriptors;

/// An object of type FILE: a path, and whether the file behind it goes with the object.
class LocalFile
{
public:
    LocalFile(std::string path, bool isTemporary);
    LocalFile(LocalFile &&other) noexcept;
    LocalFile &operator=(LocalFile &&other) noexcept;
    LocalFile(const LocalFile &) = delete;
    LocalFile &operator=(const LocalFile &) = delete;
    ~LocalFile();

    [[nodiscard]] const std::string &path() const { return m_path; }

    [[nodiscard]] const std::optional<FileSlice> &copiedFrom() const { return m_copiedFrom; }

    [[nodiscard]] std::uint64_t size() const;

    /// Becomes the bytes of the source from `offset` on, all of which the source has to have. Both files stay
    /// open for the next copy.
    void copyFrom(const LocalFile &source, std::uint64_t offset, std::uint64_t bytes);

    /// Appends all bytes, of which there are `bytes`.
    void appendContents(std::string &target, std::size_t bytes) const;

    /// To be called when something else wrote the file.
    void forgetOrigin();

private:
    void removeFile() noexcept;

    std::string m_path;
    bool m_isTemporary;
    std::optional<FileSlice> m_copiedFrom;
    std::unique_ptr<CopyDescriptors> m_descriptors; ///< since the first copy
};

} // namespace vrc
