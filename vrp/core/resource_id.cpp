// SPDX-License-Identifier: MIT
#include "vrp/core/resource_id.h"

std::optional<ResourceId> splitResourceId(std::wstring_view id)
{
    const std::size_t first = id.find(L';');
    const std::size_t second = first == std::wstring_view::npos ? first : id.find(L';', first + 1);
    if (second == std::wstring_view::npos) {
        return std::nullopt;
    }
    return ResourceId{std::wstring(id.substr(0, first)),
                      std::wstring(id.substr(first + 1, second - first - 1)),
                      std::wstring(id.substr(second + 1))};
}

std::wstring defaultTextOf(std::wstring_view id)
{
    const std::optional<ResourceId> fields = splitResourceId(id);
    return fields ? fields->defaultText : std::wstring();
}
