// SPDX-License-Identifier: MIT
#include "appserver/FileObject.h"

#include "appserver/secrets.h"

#include <fcntl.h>
#include <unistd.h>
#include <xxhash.h>

#include <algorithm>
#include <cerrno>
#include <new>

namespace appserver {

namespace {

constexpr std::size_t pieceBytes = 65536;

XXH3_state_t *newHashState()
{
    XXH3_state_t *state = XXH3_createState();
    if (state == nullptr) {
        throw std::bad_alloc();
    }
    XXH3_128bits_reset(state);
    return state;
}

} // namespace

void FileObject::HashReleaser::operator()(XXH3_state_s *state) const
{
    XXH3_freeState(state);
}

FileObject::FileObject(std::filesystem::path folder) : m_folder(std::move(folder))
{}

FileObject::~FileObject()
{
    if (!m_path.empty()) {
        ::unlink(m_path.c_str());
    }
}

void FileObject::append(std::string_view bytes)
{
    if (!m_file && m_size + bytes.size() > memoryBytes) {
        spill();
    }
    if (m_file) {
        writeAllAt(m_file.get(), bytes, m_size);
        XXH3_128bits_update(m_hash.get(), bytes.data(), bytes.size());
    } else {
        m_memory.append(bytes);
    }
    m_size += bytes.size();
}

void FileObject::append(const FileObject &source)
{
    if (!source.m_file) {
        return append(source.m_memory);
    }
    forEachPiece(source, [this](std::string_view piece) {
        append(piece);
        return true;
    });
}

wire::Hash FileObject::hash() const
{
    XXH128_canonical_t canonical;
    XXH128_canonicalFromHash(&canonical, m_file ? XXH3_128bits_digest(m_hash.get())
                                                : XXH3_128bits(m_memory.data(), m_memory.size()));
    wire::Hash hash;
    std::ranges::copy(canonical.digest, hash.begin());
    return hash;
}

std::string FileObject::read(std::uint64_t offset, std::size_t maxBytes) const
{
    if (offset >= m_size) {
        return {};
    }
    if (!m_file) {
        return m_memory.substr(static_cast<std::size_t>(offset), maxBytes);
    }
    std::string bytes(static_cast<std::size_t>(std::min<std::uint64_t>(maxBytes, m_size - offset)), '\0');
    ssize_t count = 0;
    do {
        count = ::pread(m_file.get(), bytes.data(), bytes.size(), static_cast<off_t>(offset));
    } while (count < 0 && errno == EINTR);
    if (count <= 0) {
        throwSystemError("cannot read " + m_path.string());
    }
    bytes.resize(static_cast<std::size_t>(count));
    return bytes;
}

void FileObject::startWriting() const
{
    if (m_file) {
        // What fails is told by the sync itself.
        (void)::sync_file_range(m_file.get(), 0, 0, SYNC_FILE_RANGE_WRITE);
    }
}

void FileObject::moveTo(const std::filesystem::path &target)
{
    if (!m_file) {
        spill();
    }
    std::filesystem::rename(m_path, target);
    m_path = target;
    syncFile(m_file.get()); // after the renaming: most file systems write both at once
    m_path.clear();
    m_file.reset();
    m_size = 0;
    m_hash.reset();
}

void FileObject::spill()
{
    std::unique_ptr<XXH3_state_s, HashReleaser> hash(newHashState());
    XXH3_128bits_update(hash.get(), m_memory.data(), m_memory.size());
    const std::filesystem::path path = m_folder / randomHex(8);
    UniqueFd file = createExclusively(path);
    try {
        writeAllAt(file.get(), m_memory, 0);
    } catch (...) {
        ::unlink(path.c_str());
        throw;
    }
    m_file = std::move(file);
    m_hash = std::move(hash);
    m_path = path;
    m_memory.clear();
    m_memory.shrink_to_fit();
}

void forEachPiece(const FileObject &file, const std::function<bool(std::string_view)> &use)
{
    for (std::uint64_t offset = 0; offset < file.size();) {
        const std::string piece = file.read(offset, pieceBytes);
        if (!use(piece)) {
            return;
        }
        offset += piece.size();
    }
}

} // namespace appserver
