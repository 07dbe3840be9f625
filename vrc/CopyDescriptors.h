// SPDX-License-Identifier: MIT
#pragma once

#include "vrc/file_access.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace vrc {

/// The two files of a copy that is made again and again, a block at a time: opening and emptying a file costs
/// more than its bytes. Throws Failure.
class CopyDescriptors
{
public:
    explicit CopyDescriptors(const std::string &source);
    ~CopyDescriptors();
    CopyDescriptors(const CopyDescriptors &) = delete;
    CopyDescriptors &operator=(const CopyDescriptors &) = delete;

    /// The paths may lead somewhere else by now. Where they do not, takes note of how long the files are.
    [[nodiscard]] bool areOf(const std::string &source, const std::string &target);

    [[nodiscard]] bool isTarget(const std::string &path) const;

    /// The target, whose path is given for messages, becomes these bytes of the source, all of which the
    /// source has to have.
    void copy(const std::string &path, std::uint64_t offset, std::uint64_t bytes);

    /// Appends that many bytes of the target, from its beginning.
    void appendTarget(const std::string &path, std::string &contents, std::size_t bytes) const;

private:
    void openTarget(const std::string &path);
    void write(const std::string &path, std::uint64_t offset) const;

    FileReader m_source;
    std::optional<FileStatus> m_sourceStatus;
    int m_target = -1;
    std::optional<FileStatus> m_targetStatus;
    std::string m_piece;
};

} // namespace vrc
