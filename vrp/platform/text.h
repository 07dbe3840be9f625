// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

/// Wide text (32-bit characters) is the program's text type; it is converted at every boundary.
std::wstring QString2StdWString(const QString &text);
std::wstring UTF8tow(const std::string &utf8);
std::string wtoUTF8(const std::wstring &text);

/// Normalises blanks: runs of spaces become one, leading and trailing ones go, all of them with
/// `removeAllBlanks`. Tabs count as spaces, line ends are deleted; carriage returns only where a tab or a
/// line feed stands in the text, on purpose.
void VrpsCleanString(std::wstring &text, bool removeAllBlanks);

/// Case mapping as in the C locale. Each result is narrowed to a signed byte, so that characters above 127
/// come out changed: meant for keywords and flags alone.
void VrpsMakeLower(std::wstring &text);
void VrpsMakeUpper(std::wstring &text);

/// Decimal reading as strtol does: leading blanks and a sign, then digits up to the first other character,
/// saturating to int; 0 without digits.
int decimalPrefix(std::wstring_view text);

/// Copies a text into a fixed field, cut at its capacity and always terminated.
template <std::size_t capacity>
void copyBounded(wchar_t (&field)[capacity], std::wstring_view text)
{
    const std::size_t length = std::min(text.size(), capacity - 1);
    std::copy_n(text.data(), length, field);
    field[length] = L'\0';
}
