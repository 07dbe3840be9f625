// SPDX-License-Identifier: MIT
#include "vrp/ui/entry_values.h"

#include "vrp/core/resource_id.h"
#include "vrp/core/resource_table.h"
#include "vrp/platform/text.h"

#include <QString>

#include <algorithm>
#include <iterator>

namespace {

constexpr std::size_t longestFontFamily = 500;

/// The number before the next comma, which is taken off the text with it; false without a comma.
bool takeNumber(std::wstring_view &text, int &number)
{
    const std::size_t comma = text.find(L',');
    if (comma == std::wstring_view::npos) {
        return false;
    }
    number = decimalPrefix(text.substr(0, comma));
    text.remove_prefix(comma + 1);
    return true;
}

int colorComponent(int number)
{
    return std::clamp(number, 0, 255);
}

bool isAsciiLetter(wchar_t c)
{
    return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z');
}

/// Words of letters, digits and hyphens that begin with a letter, blanks between them, commas behind them:
/// what a style sheet takes for a family, or a list of them, without quotes.
bool isPlainFamily(std::wstring_view family)
{
    wchar_t previous = L' ';
    for (const wchar_t c : family) {
        const bool wordBegins = previous == L' ' || previous == L',';
        const bool inner = c == L' ' || c == L',' || c == L'-' || (c >= L'0' && c <= L'9');
        if (!isAsciiLetter(c) && (!inner || (wordBegins && c != L' '))) {
            return false;
        }
        previous = c;
    }
    return previous != L',';
}

/// True for what may stand between double quotes: no quote, no escape, no control character.
bool isQuotable(wchar_t c)
{
    return c >= L' ' && c != 0x7f && c != L'"' && c != L'\\';
}

} // namespace

void parseColor(std::wstring_view text, int &r, int &g, int &b)
{
    if (takeNumber(text, r)) {
        r = colorComponent(r);
    }
    if (takeNumber(text, g)) {
        g = colorComponent(g);
    }
    b = colorComponent(decimalPrefix(text));
}

void parsePosition(std::wstring_view text, int &x, int &y)
{
    if (takeNumber(text, x)) {
        x = std::max(x, 0);
    }
    y = std::max(decimalPrefix(text), 0);
}

std::wstring styleSheetFontFamily(std::wstring_view family)
{
    family = family.substr(0, longestFontFamily);
    if (family.empty()) {
        return defaultTextOf(resource::messageWindowFont);
    }
    if (isPlainFamily(family)) {
        return std::wstring(family);
    }
    std::wstring quoted = L"\"";
    std::copy_if(family.begin(), family.end(), std::back_inserter(quoted), isQuotable);
    return quoted + L'"';
}
