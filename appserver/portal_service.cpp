// SPDX-License-Identifier: MIT
#include "appserver/portal_service.h"

namespace appserver {

void addPortalService(HttpSite &, AppServices &)
{}

bool isPortalPostPath(std::string_view)
{
    return false;
}

} // namespace appserver
