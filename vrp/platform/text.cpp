// SPDX-License-Identifier: MIT
#include "vrp/platform/text.h"

#include <limits>

namespace {

using QtSize = decltype(QString().size());

constexpr std::wstring_view lineLayout = L"\t\n";

bool isSpace(wchar_t c)
{
    return c == L' ';
}

void removeTabsAndLineEnds(std::wstring &text)
{
    std::replace(text.begin(), text.end(), L'\t', L' ');
    std::erase_if(text, [](wchar_t c) { return c == L'\n' || c == L'\r'; });
}

void collapseSpaces(std::wstring &text)
{
    const auto bothSpaces = [](wchar_t a, wchar_t b) { return isSpace(a) && isSpace(b); };
    text.erase(std::unique(text.begin(), text.end(), bothSpaces), text.end());
    if (!text.empty() && isSpace(text.front())) {
        text.erase(text.begin());
    }
    if (!text.empty() && isSpace(text.back())) {
        text.pop_back();
    }
}

wchar_t asciiLower(wchar_t c)
{
    return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c + (L'a' - L'A')) : c;
}

wchar_t asciiUpper(wchar_t c)
{
    return c >= L'a' && c <= L'z' ? static_cast<wchar_t>(c - (L'a' - L'A')) : c;
}

wchar_t narrowedToSignedByte(wchar_t c)
{
    return static_cast<wchar_t>(static_cast<signed char>(c & 0xFF));
}

bool isBlank(wchar_t c)
{
    return isSpace(c) || (c >= L'\t' && c <= L'\r');
}

bool isDigit(wchar_t c)
{
    return c >= L'0' && c <= L'9';
}

} // namespace

std::wstring QString2StdWString(const QString &text)
{
    std::wstring result(static_cast<std::size_t>(text.size()), L'\0');
    const auto count = text.toWCharArray(result.data());
    result.resize(static_cast<std::size_t>(count));
    return result;
}

std::wstring UTF8tow(const std::string &utf8)
{
    if (utf8.empty()) {
        return {};
    }
    return QString2StdWString(QString::fromUtf8(utf8.data(), static_cast<QtSize>(utf8.size())));
}

std::string wtoUTF8(const std::wstring &text)
{
    if (text.empty()) {
        return {};
    }
    return QString::fromWCharArray(text.data(), static_cast<QtSize>(text.size())).toUtf8().toStdString();
}

void VrpsCleanString(std::wstring &text, bool removeAllBlanks)
{
    // A carriage return alone does not start the cleaning, and goes only where a tab or a line feed stands.
    if (text.find_first_of(lineLayout) != std::wstring::npos) {
        removeTabsAndLineEnds(text);
    }
    if (removeAllBlanks) {
        std::erase_if(text, isSpace);
    } else {
        collapseSpaces(text);
    }
}

void VrpsMakeLower(std::wstring &text)
{
    for (wchar_t &c : text) {
        c = narrowedToSignedByte(asciiLower(c));
    }
}

void VrpsMakeUpper(std::wstring &text)
{
    for (wchar_t &c : text) {
        c = narrowedToSignedByte(asciiUpper(c));
    }
}

int decimalPrefix(std::wstring_view text)
{
    std::size_t at = 0;
    while (at < text.size() && isBlank(text[at])) {
        ++at;
    }
    const bool negative = at < text.size() && text[at] == L'-';
    if (negative || (at < text.size() && text[at] == L'+')) {
        ++at;
    }
    constexpr long long beyondInt = std::numeric_limits<int>::max() + 1LL;
    long long magnitude = 0;
    for (; at < text.size() && isDigit(text[at]); ++at) {
        magnitude = std::min(magnitude * 10 + (text[at] - L'0'), beyondInt);
    }
    const long long value = negative ? -magnitude : std::min(magnitude, beyondInt - 1);
    return static_cast<int>(value);
}
