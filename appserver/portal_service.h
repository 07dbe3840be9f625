// SPDX-License-Identifier: MIT
#pragma once

#include "appserver/HttpSite.h"

#include <string_view>

namespace appserver {

class AppServices;
struct PortalPage;

/// The web page on which a person sets how the document is printed.
void addPortalService(HttpSite &site, AppServices &services);

/// Sends the browser to the page and gives it the page's cookie.
void showPage(httplib::Response &response, const PortalPage &page);

/// True for the paths that take a POST.
[[nodiscard]] bool isPortalPostPath(std::string_view path);

} // namespace appserver
