// SPDX-License-Identifier: MIT
#include "vrp/encrypt.h"

#include "tests/unit/cipher/ReferenceBlowfish.h"
#include "vrp/platform/text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <vector>

namespace {

using Convert = void (*)(const char *, char *, int);

/// Runs a conversion in a buffer of exactly `size` bytes on the heap, so that a sanitizer sees any step
/// outside.
std::string converted(Convert convert, const std::string &key, const std::string &text,
                      std::size_t size = 1024)
{
    std::vector<char> buffer(size);
    std::copy_n(text.data(), std::min(text.size(), size - 1), buffer.begin());
    convert(key.c_str(), buffer.data(), static_cast<int>(size));
    return buffer.data();
}

std::string stored(const std::string &text, const std::string &key = "key")
{
    return converted(EncryptString, key, text);
}

std::string restored(const std::string &text, const std::string &key = "key")
{
    return converted(DecryptString, key, text);
}

/// The binary decipherment in buffers that hold exactly what is promised.
std::string decryptedBinary(const std::string &binary)
{
    const std::vector<char> in(binary.c_str(), binary.c_str() + binary.size() + 1);
    std::vector<char> out(in.size());
    const int length = decrypts(1, "key", in.data(), out.data());
    EXPECT_GE(length, 0);
    EXPECT_LT(static_cast<std::size_t>(length), out.size());
    std::string text(out.data(), static_cast<std::size_t>(length));
    EXPECT_EQ(out.at(text.size()), '\0');
    EXPECT_EQ(text.find('\0'), std::string::npos);
    return text;
}

std::string lowerCase(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'A' && c <= 'F' ? static_cast<char>(c + 32) : c; });
    return text;
}

} // namespace

TEST(encrypt_string, gives_the_same_stored_form_as_openssl)
{
    for (int i = 0; i < 2000; ++i) {
        const std::string key = randomBytes(1 + static_cast<std::size_t>(i) % 40, 1, i % 2 == 0 ? 127 : 255);
        const std::string text = randomBytes(1 + static_cast<std::size_t>(i) % 130, 1, 255);
        ASSERT_EQ(stored(text, key), ReferenceBlowfish(key).storedForm(text).substr(0, 254));
    }
}

TEST(encrypt_string, every_length_up_to_112_survives_the_round_trip)
{
    for (std::size_t length = 1; length <= 112; ++length) {
        for (int i = 0; i < 20; ++i) {
            const std::string text = randomBytes(length, 1, 255);
            const std::string hex = stored(text);
            ASSERT_EQ(restored(hex), text);
            ASSERT_EQ(restored(lowerCase(hex)), text);
            ASSERT_EQ(hex.find_first_not_of("0123456789ABCDEF"), std::string::npos);
            ASSERT_EQ(hex.size(), 16 + 2 * ((length + 7) / 8 * 8));
        }
    }
}

TEST(encrypt_string, no_byte_of_the_cipher_text_is_zero)
{
    int enciphermentsWithZero = 0;
    for (int i = 0; i < 2000; ++i) {
        const std::string text = randomBytes(8, 1, 255);
        const std::string hex = stored(text);
        for (std::size_t at = 0; at < hex.size(); at += 2) {
            ASSERT_NE(hex.substr(at, 2), "00");
        }
        enciphermentsWithZero += ReferenceBlowfish("key").encipher(text).find('\0') != std::string::npos;
    }
    EXPECT_GT(enciphermentsWithZero, 10); // so the blocks above did need enciphering again
}

TEST(encrypt_string, the_header_tells_version_and_pad_count)
{
    for (std::size_t length = 1; length <= 17; ++length) {
        const std::size_t pad = (8 - length % 8) % 8;
        EXPECT_EQ(stored(std::string(length, 'x')).substr(0, 16),
                  "5652313" + std::to_string(pad) + "30303030");
    }
    EXPECT_EQ(stored("12345678").size(), 32U);
    EXPECT_EQ(stored("123").size(), 32U);
    EXPECT_EQ(restored(stored("123")), "123");
}

TEST(encrypt_string, a_text_of_more_than_112_bytes_does_not_survive)
{
    for (std::size_t length : {113U, 120U, 200U, 1000U}) {
        const std::string text(length, 'x');
        EXPECT_EQ(stored(text).size(), 252U);
        EXPECT_NE(restored(stored(text)), text);
    }
}

TEST(encrypt_string, an_empty_text_or_key_changes_nothing)
{
    EXPECT_EQ(stored(""), "");
    EXPECT_EQ(restored(""), "");
    EXPECT_EQ(stored("text", ""), "text");
    EXPECT_EQ(restored("text", ""), "text");
}

TEST(encrypt_string, results_are_cut_to_the_buffer)
{
    const std::string hex = stored("12345678");
    for (std::size_t size = 9; size <= 40; ++size) {
        EXPECT_EQ(converted(EncryptString, "key", "12345678", size), hex.substr(0, size - 1));
    }
    for (const int size : {1, 0, -1, INT_MIN}) {
        char text[] = "12345678";
        EncryptString("key", text, size);
        EXPECT_STREQ(text, "");
    }
    std::vector<char> buffer(1024);
    hex.copy(buffer.data(), hex.size());
    DecryptString("key", buffer.data(), 5);
    EXPECT_STREQ(buffer.data(), "1234");
}

TEST(decrypt_string, a_long_text_is_cut_at_254_characters)
{
    const std::string text(480, 'x');
    std::vector<char> binary(text.size() + 17);
    ASSERT_EQ(encrypts(1, "key", text.c_str(), binary.data()), 488);
    std::string hex;
    for (const char *byte = binary.data(); *byte != '\0'; ++byte) {
        constexpr char digits[] = "0123456789abcdef";
        hex += digits[static_cast<unsigned char>(*byte) >> 4];
        hex += digits[static_cast<unsigned char>(*byte) & 15];
    }
    EXPECT_EQ(restored(hex), std::string(254, 'x'));
}

TEST(decrypt_string, another_key_gives_garbage_and_no_error)
{
    EXPECT_NE(restored(stored("password", "key"), "kez"), "password");
}

TEST(decrypt_string, a_pair_of_zeros_ends_the_text_there)
{
    const std::string two = stored("1234567887654321");
    EXPECT_EQ(restored(two.substr(0, 32) + "00" + two.substr(34)), "12345678");
}

TEST(decrypt_string, an_odd_digit_counts_as_a_byte_of_its_own)
{
    const std::string hex = stored("12345678");
    EXPECT_EQ(restored(hex + "F"), "12345678");
    EXPECT_EQ(restored(hex.substr(0, 29)), "");
    EXPECT_NE(restored(hex.substr(0, 31)), "12345678");
}

TEST(decrypt_string, garbage_is_bounded)
{
    for (int i = 0; i < 5000; ++i) {
        const std::string garbage = randomBytes(static_cast<std::size_t>(i) % 600, 1, 255);
        EXPECT_LE(restored(garbage).size(), 254U);
        std::string digits = randomBytes(static_cast<std::size_t>(i) % 600, '0', '9');
        EXPECT_LE(restored(digits).size(), 254U);
        std::vector<char> exact(digits.c_str(), digits.c_str() + digits.size() + 1);
        DecryptString("key", exact.data(), static_cast<int>(exact.size()));
        EXPECT_LT(std::string(exact.data()).size(), exact.size());
    }
}

TEST(decrypts, any_bytes_stay_within_their_buffers)
{
    for (std::size_t length = 0; length < 300; ++length) {
        EXPECT_LE(decryptedBinary(randomBytes(length, 1, 255)).size(), length);
    }
}

TEST(decrypts, a_text_shorter_than_its_header_is_empty)
{
    const std::string header = "VR100000";
    for (std::size_t length = 0; length <= header.size(); ++length) {
        EXPECT_EQ(decryptedBinary(header.substr(0, length)), "");
    }
}

TEST(decrypts, a_pad_count_that_cannot_be_is_bounded)
{
    std::vector<char> binary(33);
    ASSERT_EQ(encrypts(1, "key", "12345678abcdefgh", binary.data()), 24);

    const struct
    {
        char pad;
        std::string text;
    } cases[] = {
        {'0', "12345678abcdefgh"},
        {'7', "12345678a"},
        {'9', "1234567"},
        {'@', ""},
        {'\x7F', ""},
        {'/', "12345678abcdefgh"},
        {'\x01', "12345678abcdefgh"},
        {'\xFF', "12345678abcdefgh"},
    };

    for (const auto &c : cases) {
        binary[3] = c.pad;
        EXPECT_EQ(decryptedBinary(binary.data()), c.text) << int{c.pad};
    }
}

TEST(decrypts, the_rest_of_the_header_is_not_checked)
{
    std::vector<char> binary(33);
    ASSERT_EQ(encrypts(1, "key", "12345", binary.data()), 16);
    for (const std::size_t at : {0U, 1U, 2U, 4U, 5U, 6U, 7U}) {
        binary[at] = '?';
    }
    EXPECT_EQ(decryptedBinary(binary.data()), "12345");
}

TEST(encrypts, writes_header_and_blocks)
{
    const std::pair<std::string, int> cases[] = {{"", 8}, {"1", 16}, {"12345678", 16}, {"123456789", 24}};
    for (const auto &[text, expected] : cases) {
        std::vector<char> out(text.size() + 17, '#');
        EXPECT_EQ(encrypts(1, "key", text.c_str(), out.data()), expected);
        EXPECT_EQ(std::string(out.data()).size(), static_cast<std::size_t>(expected));
        EXPECT_EQ(decryptedBinary(out.data()), text);
    }
}

TEST(encrypts, knows_mode_1_alone)
{
    for (const int mode : {0, 2, -1, INT_MAX}) {
        char out[] = "kept";
        EXPECT_EQ(encrypts(mode, "key", "text", out), -1);
        EXPECT_EQ(decrypts(mode, "key", "text", out), -1);
        EXPECT_STREQ(out, "kept");
    }
}

TEST(stored_password, survives_the_round_trip)
{
    const std::wstring passwords[] = {L"",
                                      L"x",
                                      L"secret12",
                                      L"p\u00e4ssw\u00f6rt \u20ac \U0001F5A8",
                                      std::wstring(112, L'y'),
                                      std::wstring(56, L'\u00e9')};
    for (const std::wstring &password : passwords) {
        const std::wstring form = VrpsEncryptPassword(password);
        EXPECT_EQ(form.empty(), password.empty());
        EXPECT_EQ(form, VrpsEncryptPassword(password));
        EXPECT_EQ(form.find(password), password.empty() ? 0 : std::wstring::npos);
        EXPECT_EQ(VrpsDecryptPassword(form), password);
    }
}

TEST(stored_password, a_long_one_does_not_survive)
{
    EXPECT_NE(VrpsDecryptPassword(VrpsEncryptPassword(std::wstring(120, L'y'))), std::wstring(120, L'y'));
    EXPECT_EQ(VrpsEncryptPassword(std::wstring(100000, L'y')).size(), 252U);
}

TEST(stored_password, is_one_that_the_first_version_wrote)
{
    EXPECT_EQ(VrpsEncryptPassword(L"secret"), L"5652313230303030AA3BA75D72F1BEFD");
}

TEST(stored_password, a_text_that_is_none_deciphers_into_something_bounded)
{
    EXPECT_EQ(VrpsDecryptPassword(L"x"), L"");
    EXPECT_EQ(VrpsDecryptPassword(L"secret"), L"");
    EXPECT_LE(VrpsDecryptPassword(std::wstring(100000, L'4')).size(), 254U);
}

TEST(hexadecimal, is_turned_into_the_bytes_it_spells)
{
    const struct
    {
        std::string text, bytes;
    } cases[] = {
        {"", ""},
        {"41", "A"},
        {"4142ff0aC3", "AB\xFF\x0A\xC3"},
        {"41007A", std::string("A\0z", 3)},
        {"414", "A\x04"},
        {"zz41", std::string("\0A", 2)},
        {"4z41", "\x04"
                 "A"},
    };

    for (const auto &c : cases) {
        std::vector<char> text(c.text.c_str(), c.text.c_str() + c.text.size() + 1);
        const int length = H2A(text.data());
        ASSERT_EQ(length, static_cast<int>(c.bytes.size())) << c.text;
        EXPECT_EQ(std::string(text.data(), c.bytes.size()), c.bytes);
        EXPECT_EQ(text.at(c.bytes.size()), '\0');
    }
}

TEST(upper_case, maps_ascii_letters_alone)
{
    char text[] = "az-AZ{`09\xE9";
    EXPECT_STREQ(_strupr(text), "AZ-AZ{`09\xE9");
    for (int code = -128; code < 128; ++code) {
        const char c = static_cast<char>(code);
        EXPECT_EQ(toupper(c), c >= 'a' && c <= 'z' ? c - 32 : c);
    }
}
