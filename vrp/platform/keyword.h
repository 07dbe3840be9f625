// SPDX-License-Identifier: MIT
#pragma once

#include "vrp/platform/text.h"

#include <string>

/// A text as it is compared with keywords such as YES, HTTP or STANDARD: without blanks, in upper case.
[[nodiscard]] inline std::wstring keyword(std::wstring text)
{
    VrpsCleanString(text, true);
    VrpsMakeUpper(text);
    return text;
}

/// True for "yes" in any letter case, blanks aside.
[[nodiscard]] inline bool isYes(const std::wstring &text)
{
    return keyword(text) == L"YES";
}
