// SPDX-License-Identifier: MIT
#pragma once

#include "vrp/blowfish_tables.h"

#include <cstdint>
#include <string>

/// The cipher of stored passwords: Blowfish in a text form of the program's own. A cipher text in binary form
/// is the 8-character header "VR1p0000", p the number of pad characters (0 to 7), and 8 bytes a block, none
/// of them zero, so that it travels as a C string. Its stored form is that in upper-case hexadecimal.
///
/// It keeps a password from being read over somebody's shoulder, not from somebody who has this program.
/// Nothing reports an error: a text made with another key, or none of ours, deciphers into garbage.

/// The stored form of a password, deciphered and enciphered with a key built at each call. Up to 112 bytes of
/// UTF-8 survive the round trip. Empty in, empty out.
std::wstring VrpsEncryptPassword(const std::wstring &plain);
std::wstring VrpsDecryptPassword(const std::wstring &stored);

/// Replaces the text of a buffer of `size` bytes by its stored form, and back. At most 126 bytes of cipher
/// text are kept, and results are cut at 254 characters. An empty text or key leaves the buffer as it is. A
/// size below 1 counts as 1.
void EncryptString(const char *key, char *buffer, int size);
void DecryptString(const char *key, char *buffer, int size);

/// Text to binary cipher text, NUL-terminated, and its length; -1 for any mode but 1. `out` holds 17 bytes
/// more than the text.
int encrypts(int mode, const char *key, const char *plain, char *out);

/// Binary cipher text to text, and its length; -1 for any mode but 1. `out` holds as much as `in`. The header
/// is not checked; a pad count that cannot be cuts the text at what there is.
int decrypts(int mode, const char *key, const char *in, char *out);

/// The state of Blowfish under one key.
struct blf_ctx
{
    blowfish::SubKeys P;
    blowfish::SBoxes S;
};

/// Loads a key. Each byte is sign-extended into its word, so that one of 0x80 or above makes the bytes before
/// it in its group of four read as 0xFF. Kept on purpose: stored passwords must stay readable.
void InitializeBlowfish(blf_ctx *context, const char *key, int keyLength);
void blf_key(blf_ctx *context, const char *key, int keyLength);

void Blowfish_encipher(const blf_ctx *context, std::uint32_t &left, std::uint32_t &right);
void Blowfish_decipher(const blf_ctx *context, std::uint32_t &left, std::uint32_t &right);

/// The same for an array of `blocks` pairs of halves; the number of blocks processed.
int blf_enc(const blf_ctx *context, std::uint32_t *data, int blocks);
int blf_dec(const blf_ctx *context, std::uint32_t *data, int blocks);

/// Turns hexadecimal digits into the bytes they spell, in place and NUL-terminated; their number.
int H2A(char *text);

/// Upper case of ASCII letters.
char *_strupr(char *text);
char toupper(char c);
