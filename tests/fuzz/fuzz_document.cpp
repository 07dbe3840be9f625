// SPDX-License-Identifier: MIT
#include "appserver/FileObject.h"
#include "appserver/decompression.h"
#include "appserver/document_format.h"
#include "tests/fuzz/fuzz_entry.h"

#include <zstd.h>

#include <filesystem>
#include <string>
#include <string_view>

// A document as a client sends it: taken apart by the server, beside the library's own function for a whole
// text, and looked at for what it is.

namespace {

using namespace appserver;

constexpr std::uint64_t room = 1 << 20;

const std::filesystem::path &folder()
{
    static const std::filesystem::path path = std::filesystem::temp_directory_path();
    return path;
}

/// The bytes of all frames; nothing when they are damaged or too many.
bool decompressAtOnce(std::string_view packed, std::string &plain)
{
    plain.resize(room);
    const std::size_t bytes = ZSTD_decompress(plain.data(), plain.size(), packed.data(), packed.size());
    if (ZSTD_isError(bytes) != 0) {
        return false;
    }
    plain.resize(bytes);
    return true;
}

void checkDecompression(const FileObject &packed, std::string_view bytes)
{
    FileObject target(folder());
    const Decompression outcome = decompress(packed, target, room);
    ensure(target.size() <= room);
    std::string plain;
    if (outcome == Decompression::done && decompressAtOnce(bytes, plain)) {
        ensure(target.read(0, room) == plain);
    }
}

void checkFormat(const FileObject &file)
{
    if (const auto format = recogniseFormat(file)) {
        ensure(file.size() > 0 && formatFromName(formatName(*format)) == format &&
               !mediaType(*format).empty());
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string_view bytes(reinterpret_cast<const char *>(data), size);
    FileObject file(folder());
    file.append(bytes);
    checkFormat(file);
    checkDecompression(file, bytes);
    return 0;
}
