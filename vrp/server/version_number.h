// SPDX-License-Identifier: MIT
#pragma once

#include "vrp/platform/keyword.h"

#include <string>

/// A version text as the number that versions are compared by: 1.00.000 is 100000. All versions must be
/// written with the same number of digits in each part. 0 for what is no number.
[[nodiscard]] inline int versionNumber(const std::wstring &text)
{
    std::wstring digits = keyword(text);
    std::erase(digits, L'.');
    return decimalPrefix(digits);
}
