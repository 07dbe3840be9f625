// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

/// Values of configured window entries: pure reading of their text.

/// Reads "r,g,b" into components of 0..255 (numbers outside are clamped). A component whose comma is missing
/// keeps the value it had: "7" sets blue alone, "7,8" red and blue.
void parseColor(std::wstring_view text, int &r, int &g, int &b);

/// Reads "x,y"; a negative number gives 0. Without a comma the number is y, and x keeps the value it had.
void parsePosition(std::wstring_view text, int &x, int &y);

/// A configured font family made fit for a style sheet: nothing in it can end the declaration that it stands
/// in. Plain names stay as they are, others lose the characters that have a meaning there and are quoted.
/// Empty gives the default family; a name ends after 500 characters.
[[nodiscard]] std::wstring styleSheetFontFamily(std::wstring_view family);
