// SPDX-License-Identifier: MIT
#include "vrp/core/error_text.h"

#include <algorithm>

std::wstring fillErrorCode(std::wstring_view text, int code)
{
    const std::wstring number = std::to_wstring(code);
    std::wstring filled;
    for (std::size_t i = 0; i < text.size() && filled.size() < maxErrorText; ++i) {
        const std::wstring_view directive = text.substr(i, 2);
        if (directive == L"%d") {
            filled += number;
            ++i;
        } else if (directive == L"%%") {
            filled += L'%';
            ++i;
        } else {
            filled += text[i];
        }
    }
    filled.resize(std::min(filled.size(), maxErrorText));
    return filled;
}
