// SPDX-License-Identifier: MIT
#pragma once

#include "vrp/core/resource_strings.h"

#include <QString>

/// The text of a resource identifier as the toolkit takes it.
[[nodiscard]] inline QString resourceText(const wchar_t *id)
{
    return QString::fromStdWString(VrpsLoadConfigString(id));
}
