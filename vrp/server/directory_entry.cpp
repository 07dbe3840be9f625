// SPDX-License-Identifier: MIT
#include "vrp/server/directory_entry.h"

#include "vrp/platform/text.h"

#include <optional>

namespace {

struct Halves
{
    std::wstring before;
    std::optional<std::wstring> after; ///< nothing without the separator
};

Halves splitAtFirst(const std::wstring &text, wchar_t separator)
{
    const std::size_t position = text.find(separator);
    if (position == text.npos) {
        return {text, std::nullopt};
    }
    return {text.substr(0, position), text.substr(position + 1)};
}

} // namespace

void takeDirectoryEntry(const std::wstring &entry, DirectoryAddress &address)
{
    const Halves halves = splitAtFirst(entry, L';');
    if (!halves.after) {
        return;
    }
    const Halves server = splitAtFirst(halves.before, L':');
    address.server = server.before;
    if (server.after && !server.after->empty()) {
        address.port = decimalPrefix(*server.after);
    }
    const Halves application = splitAtFirst(*halves.after, L':');
    address.application = application.before;
    if (application.after) {
        address.directory = *application.after;
    }
}
