// SPDX-License-Identifier: MIT
#pragma once

#include "vrp/core/resource_strings.h"

#include <QString>

#include <cstddef>
#include <string>
#include <string_view>

/// Longest texts that are shown, in characters: the toolkit takes minutes to lay out millions, and no window
/// system has windows that wide.
inline constexpr std::size_t longestWindowText = 2000;
inline constexpr std::size_t longestBoxText = 65536;

/// A text as a window shows it: what is longer is cut.
[[nodiscard]] inline QString shownText(std::wstring_view text, std::size_t longest = longestWindowText)
{
    return QString::fromStdWString(std::wstring(text.substr(0, longest)));
}

/// The text of a resource identifier as the toolkit takes it.
[[nodiscard]] inline QString resourceText(const wchar_t *id)
{
    return shownText(VrpsLoadConfigString(id));
}
