// SPDX-License-Identifier: MIT
#pragma once

#include <string>

/// Every user-visible text and every installation constant is named by a resource identifier,
/// L"Section;Key;Default text". Its value is that of the configuration file when one is in use, otherwise that
/// of the machine-wide settings store, otherwise the default text.

/// The text for a resource identifier. One without two ";" or with an empty section gives the empty text; one
/// with an empty key gives its default text without any lookup.
std::wstring VrpsLoadConfigString(const wchar_t *id);

/// Loads the installation constants (printer, setup and software names) into the application object.
void VrpsLoadResources();
