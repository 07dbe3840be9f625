// SPDX-License-Identifier: MIT
#include "vrp/md5.h"

#include "tests/unit/cipher/ReferenceBlowfish.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <filesystem>
#include <fstream>

namespace {

constexpr char emptyDigest[] = "d41d8cd98f00b204e9800998ecf8427e";

const unsigned char *bytesOf(const std::string &text)
{
    return reinterpret_cast<const unsigned char *>(text.data());
}

std::string hexadecimal(const unsigned char *bytes, unsigned length)
{
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (unsigned i = 0; i < length; ++i) {
        text += digits[bytes[i] >> 4];
        text += digits[bytes[i] & 15];
    }
    return text;
}

std::string opensslDigest(const std::string &bytes)
{
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned length = 0;
    EXPECT_EQ(EVP_Digest(bytes.data(), bytes.size(), digest, &length, EVP_md5(), nullptr), 1);
    return hexadecimal(digest, length);
}

class Md5File : public testing::Test
{
protected:
    std::string written(const std::string &content) const
    {
        std::string path = m_folder.path().toStdString() + "/file";
        std::ofstream(path, std::ios::binary) << content;
        return path;
    }

    QTemporaryDir m_folder;
};

} // namespace

TEST(md5, gives_the_published_digests)
{
    const std::pair<const char *, const char *> vectors[] = {
        {"", emptyDigest},
        {"a", "0cc175b9c0f1b6a831c399e269772661"},
        {"abc", "900150983cd24fb0d6963f7d28e17f72"},
        {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
        {"abcdefghijklmnopqrstuvwxyz", "c3fcd3d76192e4007dfb496cca67e13b"},
        {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789",
         "d174ab98d277d9f5a5611c2c9f419d9f"},
        {"12345678901234567890123456789012345678901234567890123456789012345678901234567890",
         "57edf4a22be3c955ac49da2e2107b67a"},
    };
    for (const auto &[text, digest] : vectors) {
        EXPECT_EQ(MD5_string(text), digest);
        EXPECT_EQ(MD5_string(std::string(text)), digest);
    }
}

TEST(md5, agrees_with_openssl_for_every_length)
{
    for (std::size_t length = 0; length <= 300; ++length) {
        const std::string bytes = randomBytes(length, 0, 255);
        const std::string text = randomBytes(length, 1, 255);
        EXPECT_EQ(MD5_bytes(bytesOf(bytes), static_cast<std::uint32_t>(length)), opensslDigest(bytes));
        EXPECT_EQ(MD5_string(bytes), opensslDigest(bytes));
        EXPECT_EQ(MD5_string(text.c_str()), opensslDigest(text));
    }
}

TEST(md5, a_c_string_ends_at_its_nul_and_a_string_does_not)
{
    const std::string text("a\0b", 3);
    EXPECT_EQ(MD5_string(text.c_str()), opensslDigest("a"));
    EXPECT_EQ(MD5_string(text), opensslDigest(text));
}

TEST(md5, pieces_give_the_digest_of_the_whole)
{
    const std::string bytes = randomBytes(1000, 0, 255);
    for (std::size_t piece = 1; piece < 200; ++piece) {
        MyMD5 digest;
        for (std::size_t at = 0; at < bytes.size(); at += piece) {
            const std::string part = bytes.substr(at, piece);
            digest.update(bytesOf(part), static_cast<std::uint32_t>(part.size()));
        }
        digest.finalize();
        ASSERT_EQ(digest.hex_digest(), opensslDigest(bytes)) << piece;
    }
}

TEST(md5, there_is_no_digest_before_it_is_finalized)
{
    MyMD5 digest;
    EXPECT_EQ(digest.hex_digest(), "");
    digest.update(bytesOf("abc"), 3);
    EXPECT_EQ(digest.hex_digest(), "");
}

TEST(md5, a_finalized_digest_stays)
{
    MyMD5 digest;
    digest.finalize();
    digest.finalize();
    EXPECT_EQ(digest.hex_digest(), emptyDigest);
    digest.update(bytesOf("abc"), 3);
    digest.finalize();
    EXPECT_EQ(digest.hex_digest(), emptyDigest);
}

TEST(md5, starts_again_with_init)
{
    MyMD5 digest;
    digest.update(bytesOf("abc"), 3);
    digest.finalize();
    digest.init();
    EXPECT_EQ(digest.hex_digest(), "");
    digest.update(bytesOf("a"), 1);
    digest.finalize();
    EXPECT_EQ(digest.hex_digest(), opensslDigest("a"));
}

TEST(md5, counts_more_than_2_to_the_32_bits)
{
    const std::string block = randomBytes(1 << 20, 0, 255);
    MyMD5 digest;
    EVP_MD_CTX *reference = EVP_MD_CTX_new();
    ASSERT_EQ(EVP_DigestInit_ex(reference, EVP_md5(), nullptr), 1);
    for (int megabyte = 0; megabyte < 513; ++megabyte) {
        digest.update(bytesOf(block), static_cast<std::uint32_t>(block.size()));
        ASSERT_EQ(EVP_DigestUpdate(reference, block.data(), block.size()), 1);
    }
    digest.finalize();
    unsigned char expected[EVP_MAX_MD_SIZE];
    unsigned length = 0;
    ASSERT_EQ(EVP_DigestFinal_ex(reference, expected, &length), 1);
    EVP_MD_CTX_free(reference);
    EXPECT_EQ(digest.hex_digest(), hexadecimal(expected, length));
}

TEST_F(Md5File, digests_a_file_of_any_size)
{
    for (const std::size_t size : {0U, 1U, 1023U, 1024U, 1025U, 2048U, 5U << 20}) {
        const std::string content = randomBytes(size, 0, 255);
        EXPECT_EQ(MD5_file(written(content).c_str()), opensslDigest(content)) << size;
    }
}

TEST_F(Md5File, a_missing_file_has_no_digest)
{
    EXPECT_EQ(MD5_file((m_folder.path().toStdString() + "/missing").c_str()), "");
    EXPECT_EQ(MD5_file(""), "");
}

TEST_F(Md5File, a_stream_is_digested_from_where_it_stands_and_closed)
{
    const auto descriptors = [] {
        const auto all = std::filesystem::directory_iterator("/dev/fd");
        return std::distance(begin(all), end(all));
    };
    const auto before = descriptors();
    std::FILE *file = std::fopen(written("abcdef").c_str(), "rb");
    ASSERT_NE(file, nullptr);
    std::fseek(file, 3, SEEK_SET);
    EXPECT_EQ(MyMD5(file).hex_digest(), opensslDigest("def"));
    EXPECT_EQ(descriptors(), before);
}

TEST_F(Md5File, a_stream_can_follow_other_bytes)
{
    MyMD5 digest;
    digest.update(bytesOf("abc"), 3);
    digest.update(std::fopen(written("def").c_str(), "rb"));
    digest.update(bytesOf("ghi"), 3);
    digest.finalize();
    EXPECT_EQ(digest.hex_digest(), opensslDigest("abcdefghi"));
}
