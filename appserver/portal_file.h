// SPDX-License-Identifier: MIT
#pragma once

#include "appserver/DocumentStore.h"

#include <httplib.h>

#include <filesystem>

namespace appserver {

/// Answers with a stored document's bytes, as what a browser shows inside the page and never runs. Throws
/// when the file cannot be opened.
void sendFile(const std::filesystem::path &file, const Document &document, httplib::Response &response);

} // namespace appserver
