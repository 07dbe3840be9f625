// SPDX-License-Identifier: MIT
#pragma once

#include "vrp/core/resource_id.h"

#include <string>

/// Every user-visible text and every installation constant is named by a resource identifier,
/// L"Section;Key;Default text". Its value is that of the configuration file when one is in use, otherwise
/// that of the machine-wide settings store, otherwise the default text.

/// The entry of the configuration file, which is opened at first use and kept open; the default text when the
/// file has none. To be called only when `configFilePath` is set.
[[nodiscard]] std::wstring configFileText(const ResourceId &id);

/// The text for a resource identifier. One without two ";" or with an empty section gives the empty text; one
/// with an empty key gives its default text without any lookup.
[[nodiscard]] std::wstring VrpsLoadConfigString(const wchar_t *id);

/// Loads the installation constants (printer, setup and software names) into the application object. What
/// they are read from is decided by the company and software names that it holds before.
void VrpsLoadResources();
