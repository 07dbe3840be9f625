// SPDX-License-Identifier: MIT
#include "vrc/compress.h"

#include "tests/support/LibraryUpload.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <zstd.h>

namespace {

std::string decompressed(const std::string &bytes, std::size_t room)
{
    std::string out(room, '\0');
    const std::size_t size = ZSTD_decompress(out.data(), out.size(), bytes.data(), bytes.size());
    EXPECT_FALSE(ZSTD_isError(size)) << ZSTD_getErrorName(size);
    out.resize(ZSTD_isError(size) ? 0 : size);
    return out;
}

class Compress : public testing::Test
{
protected:
    std::string compress(const std::string &bytes)
    {
        const vrc::LocalFile source(m_folder.write("source", bytes), false);
        vrc::LocalFile target(m_folder.file("target"), false);
        vrc::compressFile(source, target);
        return m_folder.read("target");
    }

    TemporaryFolder m_folder;
};

} // namespace

TEST_F(Compress, what_is_decompressed_is_what_was_compressed)
{
    for (const std::size_t bytes : {0U, 1U, 65536U, 1'000'000U, 9'000'000U}) {
        const std::string text = incompressibleText(bytes);
        EXPECT_EQ(decompressed(compress(text), bytes + 1), text) << bytes;
    }
}

TEST_F(Compress, the_frame_has_a_checksum)
{
    std::string bytes = compress(incompressibleText(1000));
    bytes.back() = static_cast<char>(bytes.back() ^ 1);
    std::string out(2000, '\0');
    EXPECT_TRUE(ZSTD_isError(ZSTD_decompress(out.data(), out.size(), bytes.data(), bytes.size())));
}

TEST_F(Compress, the_result_is_readable_by_its_owner_alone)
{
    compress("x");
    struct stat status = {};
    ASSERT_EQ(stat(m_folder.file("target").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600U);
}

/// A sender that cuts into blocks of 64 KiB counts one block too few for an exact multiple.
TEST_F(Compress, the_length_is_never_a_multiple_of_the_block_length)
{
    std::mt19937 random(7);
    std::string bytes(66'000, '\0');
    for (char &byte : bytes) {
        byte = static_cast<char>(random());
    }
    bool hasFrame = false;
    for (std::size_t size = 65'490; size <= 65'536; ++size) {
        const std::string packed = compress(bytes.substr(0, size));
        EXPECT_NE(packed.size() % 65536, 0U) << size;
        EXPECT_EQ(decompressed(packed, size + 1), bytes.substr(0, size));
        hasFrame = hasFrame || packed.size() == 65536 + 8;
    }
    EXPECT_TRUE(hasFrame) << "no length in the table needed the skippable frame";
}
