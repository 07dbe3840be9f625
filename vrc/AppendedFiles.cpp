// SPDX-License-Identifier: MIT
#include "vrc/AppendedFiles.h"

#include <algorithm>
#include <iterator>

#define XXH_INLINE_ALL
#include <xxhash.h>

namespace vrc {

/// XXH3 with 128 bits, in its canonical form.
class RunningHash
{
public:
    RunningHash() { XXH3_128bits_reset(&m_state); }

    void update(std::string_view bytes) { XXH3_128bits_update(&m_state, bytes.data(), bytes.size()); }

    [[nodiscard]] wire::Hash value() const
    {
        XXH128_canonical_t canonical;
        XXH128_canonicalFromHash(&canonical, XXH3_128bits_digest(&m_state));
        wire::Hash hash{};
        std::copy(std::begin(canonical.digest), std::end(canonical.digest), hash.begin());
        return hash;
    }

private:
    XXH3_state_t m_state;
};

AppendedFiles::AppendedFiles() = default;
AppendedFiles::~AppendedFiles() = default;

void AppendedFiles::created(const std::string &name)
{
    m_files.insert_or_assign(name, File{0, std::make_unique<RunningHash>()});
}

void AppendedFiles::appended(const std::string &name, std::string_view bytes)
{
    const auto file = m_files.find(name);
    if (file != m_files.end()) {
        file->second.hash->update(bytes);
        file->second.bytes += bytes.size();
    }
}

void AppendedFiles::forget(const std::string &name)
{
    m_files.erase(name);
}

void AppendedFiles::forgetAll()
{
    m_files.clear();
}

std::optional<std::uint64_t> AppendedFiles::size(const std::string &name) const
{
    const auto file = m_files.find(name);
    return file == m_files.end() ? std::nullopt : std::optional(file->second.bytes);
}

std::optional<wire::Hash> AppendedFiles::hash(const std::string &name) const
{
    const auto file = m_files.find(name);
    return file == m_files.end() ? std::nullopt : std::optional(file->second.hash->value());
}

} // namespace vrc
