// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

/// The three fields of a resource identifier, L"Section;Key;Default text". The default text may hold further
/// ";".
struct ResourceId
{
    std::wstring section;
    std::wstring key;
    std::wstring defaultText;
};

/// Takes an identifier apart; nothing when it has fewer than two ";".
[[nodiscard]] std::optional<ResourceId> splitResourceId(std::wstring_view id);

/// The default text of an identifier, whatever an installation has put in its place; empty when it has fewer
/// than two ";".
[[nodiscard]] std::wstring defaultTextOf(std::wstring_view id);
