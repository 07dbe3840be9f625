// SPDX-License-Identifier: MIT
#pragma once

#include "appserver/DocumentStore.h"
#include "appserver/PortalVisitors.h"
#include "appserver/ServerConfiguration.h"

#include <string>
#include <string_view>
#include <vector>

namespace appserver {

/// The form for user name and password, with a sentence when they were not accepted.
[[nodiscard]] std::string loginPage(const PortalSettings &settings, std::string_view name,
                                    std::string_view problem);
/// The documents that wait, each with a button that opens it.
[[nodiscard]] std::string documentsPage(const PortalSettings &settings, const PortalVisitor &visitor,
                                        const std::vector<Document> &documents);

} // namespace appserver
