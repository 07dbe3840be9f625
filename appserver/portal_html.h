// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

/// Pieces of HTML that the portal's pages are made of. What comes from elsewhere is escaped.
namespace appserver {

struct Document;
struct PortalSettings;

/// A whole page around a body that is HTML already.
[[nodiscard]] std::string pageAround(const PortalSettings &settings, std::string_view title,
                                     std::string_view body);
/// ` name="value"`
[[nodiscard]] std::string attribute(std::string_view name, std::string_view value);
/// A document's name, not escaped; there is always one.
[[nodiscard]] std::string shownName(const Document &document);
/// A line with format, size and time of a document.
[[nodiscard]] std::string factsOf(const Document &document);
/// A sentence for a person whose form was not accepted; nothing for an empty one.
[[nodiscard]] std::string problemBox(std::string_view problem);

} // namespace appserver
