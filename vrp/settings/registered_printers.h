// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

/// The bootstrap store: for each installed printer the names that decide on its company store.

struct StoreNames
{
    std::wstring company;
    std::wstring software;
};

/// The names of a printer's store; empty where none is registered.
[[nodiscard]] StoreNames registeredNames(const std::wstring &printer);

/// Registers a printer; false when that does not come to stand on the disk.
[[nodiscard]] bool registerPrinter(const std::wstring &printer, const StoreNames &names);

/// Removes a printer's entry and tells the names that it held; nothing when the store cannot be written.
[[nodiscard]] std::optional<StoreNames> unregisterPrinter(const std::wstring &printer);
