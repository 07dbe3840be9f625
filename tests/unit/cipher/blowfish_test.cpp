// SPDX-License-Identifier: MIT
#include "tests/unit/cipher/ReferenceBlowfish.h"
#include "vrp/encrypt.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>

namespace {

struct Halves
{
    std::uint32_t left, right;
    bool operator==(const Halves &) const = default;
};

blf_ctx loaded(const std::string &key)
{
    blf_ctx context;
    blf_key(&context, key.data(), static_cast<int>(key.size()));
    return context;
}

std::uint32_t word(const std::string &bytes, std::size_t at)
{
    std::uint32_t value = 0;
    for (std::size_t i = at; i < at + 4; ++i) {
        value = value << 8 | static_cast<unsigned char>(bytes[i]);
    }
    return value;
}

Halves halvesOf(const std::string &block)
{
    return {word(block, 0), word(block, 4)};
}

Halves enciphered(const blf_ctx &context, Halves block)
{
    Blowfish_encipher(&context, block.left, block.right);
    return block;
}

Halves deciphered(const blf_ctx &context, Halves block)
{
    Blowfish_decipher(&context, block.left, block.right);
    return block;
}

void expectAgreement(const std::string &key)
{
    const blf_ctx context = loaded(key);
    ReferenceBlowfish reference(key);
    for (int i = 0; i < 4; ++i) {
        const std::string plain = randomBytes(8, 0, 255);
        const Halves cipher = enciphered(context, halvesOf(plain));
        ASSERT_EQ(cipher, halvesOf(reference.encipher(plain)));
        ASSERT_EQ(deciphered(context, cipher), halvesOf(plain));
    }
}

} // namespace

TEST(blowfish, gives_the_published_cipher_texts)
{
    const struct
    {
        std::string key;
        Halves plain, cipher;
    } vectors[] = {
        {std::string(8, '\0'), {0, 0}, {0x4EF99745, 0x6198DD78}},
        {"\x30" + std::string(7, '\0'), {0x10000000, 0x00000001}, {0x7D856F9A, 0x613063F2}},
        {std::string(8, '\x11'), {0x11111111, 0x11111111}, {0x2466DD87, 0x8B963C9D}},
        {std::string(8, '\x01'), {0x01234567, 0x89ABCDEF}, {0xFA34EC48, 0x47B268B2}},
        {"\x1F\x1F\x1F\x1F\x0E\x0E\x0E\x0E", {0x01234567, 0x89ABCDEF}, {0xA7907951, 0x08EA3CAE}},
        {"abcdefghijklmnopqrstuvwxyz", {0x424C4F57, 0x46495348}, {0x324ED0FE, 0xF413A203}},
        {"Who is John Galt?", {0xFEDCBA98, 0x76543210}, {0xCC91732B, 0x8022F684}},
    };

    for (const auto &v : vectors) {
        EXPECT_EQ(enciphered(loaded(v.key), v.plain), v.cipher);
        EXPECT_EQ(deciphered(loaded(v.key), v.cipher), v.plain);
    }
}

TEST(blowfish, agrees_with_openssl_for_keys_below_0x80)
{
    for (int i = 0; i < 3000; ++i) {
        const std::string key = randomBytes(1 + static_cast<std::size_t>(i) % 72, 0, 0x7F);
        const std::string cycled = (key + key).substr(0, 72);
        ASSERT_EQ(signExtendedKey(key).substr(0, cycled.size()), cycled);
        expectAgreement(key);
    }
}

TEST(blowfish, sign_extends_the_bytes_of_other_keys)
{
    for (int i = 0; i < 3000; ++i) {
        expectAgreement(randomBytes(1 + static_cast<std::size_t>(i) % 72, 0, 255));
    }
}

TEST(blowfish, a_high_key_byte_hides_those_before_it_in_its_group_of_four)
{
    const Halves block{0x01234567, 0x89ABCDEF};
    const Halves hidden = enciphered(loaded("ab\xC3z"), block);
    EXPECT_EQ(enciphered(loaded("xy\xC3z"), block), hidden);
    EXPECT_EQ(enciphered(loaded("\xFF\xFF\xC3z"), block), hidden);
    EXPECT_NE(enciphered(loaded("xy\xC3!"), block), hidden);
    EXPECT_NE(enciphered(loaded("xy\xC4z"), block), hidden);
}

TEST(blowfish, an_empty_key_leaves_the_published_tables_to_be_enciphered)
{
    const blf_ctx empty = loaded("");
    EXPECT_EQ(empty.P, loaded(std::string(1, '\0')).P);
    EXPECT_EQ(empty.S, loaded(std::string(1, '\0')).S);
}

TEST(blowfish, arrays_of_blocks_are_processed_pair_by_pair)
{
    const blf_ctx context = loaded("key");
    const std::array<std::uint32_t, 6> plain{1, 2, 3, 4, 5, 6};
    std::array<std::uint32_t, 6> data = plain;
    EXPECT_EQ(blf_enc(&context, data.data(), 2), 2);
    EXPECT_EQ((Halves{data[0], data[1]}), enciphered(context, {1, 2}));
    EXPECT_EQ((Halves{data[2], data[3]}), enciphered(context, {3, 4}));
    EXPECT_EQ((Halves{data[4], data[5]}), (Halves{5, 6}));
    EXPECT_EQ(blf_dec(&context, data.data(), 2), 2);
    EXPECT_EQ(data, plain);
    EXPECT_EQ(blf_enc(&context, nullptr, 0), 0);
    EXPECT_EQ(blf_dec(&context, nullptr, -1), 0);
}
