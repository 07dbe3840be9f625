// SPDX-License-Identifier: MIT
#pragma once

#include "appserver/server_files.h"
#include "wire/frames.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

struct XXH3_state_s;

namespace appserver {

/// The contents of a FILE object. A block of an upload stays in memory, anything longer goes to a file of the
/// session's folder, which is deleted with the object. What goes to the file is hashed on its way.
/// Functions throw std::system_error when the disk refuses.
class FileObject
{
public:
    /// Contents up to this size stay in memory.
    static constexpr std::size_t memoryBytes = 65536;

    explicit FileObject(std::filesystem::path folder);
    FileObject(const FileObject &) = delete;
    FileObject &operator=(const FileObject &) = delete;
    ~FileObject();

    void append(std::string_view bytes);
    void append(const FileObject &source);

    [[nodiscard]] std::uint64_t size() const { return m_size; }

    /// XXH3, 128 bits, of all bytes appended.
    [[nodiscard]] wire::Hash hash() const;

    /// Up to maxBytes bytes from the offset; empty at the end. Safe on several threads while nobody appends.
    [[nodiscard]] std::string read(std::uint64_t offset, std::size_t maxBytes) const;

    /// Lets the system begin to write the contents to the disk, for a sync that will follow. Waits for
    /// nothing.
    void startWriting() const;

    /// Puts the contents, synced, under a new name on the same file system. The object is empty afterwards.
    void moveTo(const std::filesystem::path &target);

private:
    struct HashReleaser
    {
        void operator()(XXH3_state_s *state) const;
    };

    void spill();

    std::filesystem::path m_folder;
    std::filesystem::path m_path; ///< empty while the contents are in memory
    UniqueFd m_file;
    std::string m_memory;
    std::uint64_t m_size = 0;
    std::unique_ptr<XXH3_state_s, HashReleaser> m_hash; ///< of what is in the file; null without one
};

/// Hands the contents over piece by piece; stops when the function returns false.
void forEachPiece(const FileObject &file, const std::function<bool(std::string_view)> &use);

} // namespace appserver
