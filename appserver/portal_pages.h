// SPDX-License-Identifier: MIT
#pragma once

#include "appserver/DocumentStore.h"
#include "appserver/PortalSessions.h"
#include "appserver/ServerConfiguration.h"

#include <string>
#include <string_view>

/// The portal's pages as HTML. Everything that comes from elsewhere is escaped; the pages hold no scripts.
namespace appserver {

/// The document beside the form, or beside what was chosen.
[[nodiscard]] std::string documentPage(const PortalSettings &settings, const PortalPage &page,
                                       const Document &document);
/// The form as it was filled in, with a sentence on what to change.
[[nodiscard]] std::string correctionPage(const PortalSettings &settings, const PortalPage &page,
                                         const Document &document, const PrintChoices &choices,
                                         std::string_view problem);
/// A page of a heading and a few sentences (already HTML).
[[nodiscard]] std::string messagePage(const PortalSettings &settings, std::string_view heading,
                                      std::string_view sentences);
/// What the Help buttons of the program open; a section for each window.
[[nodiscard]] std::string helpPage(const PortalSettings &settings);

[[nodiscard]] std::string_view portalStyleSheet();
[[nodiscard]] std::string_view portalMark(); ///< SVG

} // namespace appserver
