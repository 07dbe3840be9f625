// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Longest error text, in characters, before the system's description is added to it.
inline constexpr std::size_t maxErrorText = 16383;

/// Fills every "%d" of a text with a number and makes "%%" a single "%"; any other "%" stands as it is. The
/// result is cut at maxErrorText. The text may come from a configuration file: it is never handed to printf.
[[nodiscard]] std::wstring fillErrorCode(std::wstring_view text, int code);
