// SPDX-License-Identifier: MIT
#pragma once

#include <string>

/// True when a printer of exactly that name is available.
bool VrpsPrinterExist(const std::wstring &name);
