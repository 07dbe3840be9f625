// SPDX-License-Identifier: MIT
#include "vrp/server/masking.h"

namespace {

constexpr std::wstring_view passwordMarker = L"POD_PASSWORD=|";
constexpr std::wstring_view valueGetter = L"LOCAL:OBJECT:INDSTRINGLIST_GET_VALUE|";
constexpr std::wstring_view secretKeyEnd = L"_PASSWORD|";

/// Where the value that begins at `from` ends: at its closing "|", or at the end of a value that is not
/// closed.
std::size_t valueEnd(std::wstring_view command, std::size_t from)
{
    for (std::size_t bar = command.find(L'|', from); bar != command.npos; bar = command.find(L'|', bar + 1)) {
        if (bar + 1 == command.size() || command[bar + 1] == L' ') {
            return bar;
        }
    }
    return command.size();
}

/// C0 controls, DEL and C1 controls, the tab excepted.
bool isControl(wchar_t character)
{
    return (character >= 0 && character < L' ' && character != L'\t') ||
           (character >= 0x7F && character <= 0x9F);
}

std::wstring escaped(wchar_t control)
{
    constexpr wchar_t digits[] = L"0123456789ABCDEF";
    if (control == L'\r') {
        return L"\\r";
    }
    if (control == L'\n') {
        return L"\\n";
    }
    return {L'\\', L'x', digits[control / 16], digits[control % 16]};
}

} // namespace

std::wstring maskCommand(std::wstring_view command)
{
    std::wstring masked;
    std::size_t shown = 0;
    for (std::size_t marker = command.find(passwordMarker); marker != command.npos;
         marker = command.find(passwordMarker, shown)) {
        const std::size_t value = marker + passwordMarker.size();
        masked.append(command.substr(shown, value - shown)).append(mask);
        shown = valueEnd(command, value);
    }
    return masked.append(command.substr(shown));
}

std::wstring maskResult(std::wstring_view command, std::wstring_view result)
{
    const bool secret = command.find(valueGetter) != command.npos && command.ends_with(secretKeyEnd);
    return std::wstring(secret ? std::wstring_view(mask) : result);
}

std::wstring escapeControls(std::wstring_view text)
{
    std::wstring line;
    line.reserve(text.size());
    for (const wchar_t character : text) {
        if (isControl(character)) {
            line += escaped(character);
        } else {
            line += character;
        }
    }
    return line;
}
