// SPDX-License-Identifier: MIT
#pragma once

#include "appserver/HttpSite.h"

#include <string_view>

namespace appserver {

class AppServices;

/// /documents: a person logs in and finds the documents that wait, those of the asynchronous mode above all.
void addPortalDocuments(HttpSite &site, AppServices &services);

/// True for the paths that take a POST.
[[nodiscard]] bool isDocumentsPostPath(std::string_view path);

} // namespace appserver
