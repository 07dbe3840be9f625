// SPDX-License-Identifier: MIT
#include "vrp/server/portal.h"

#include "vrp/core/VrpMain.h"
#include "vrp/core/resource_table.h"
#include "vrp/server/RequestSession.h"
#include "vrp/server/browser.h"
#include "vrp/server/cancel_request.h"
#include "vrp/server/login.h"
#include "vrp/server/portal_address.h"
#include "vrp/server/session_exits.h"
#include "vrp/ui/progress.h"

namespace {

/// With single sign-on the server knows neither identifier nor password.
std::wstring digestOf(const std::wstring &sessionId, bool sso)
{
    const VrpMain &main = *VrpsGetMain();
    return sso ? controlDigest(sessionId, {}, {}) : controlDigest(sessionId, main.ident, main.password);
}

/// Puts the uploaded document's identifier into the portal's session.
void handOver(RequestSession &session, const std::wstring &fileId)
{
    session.run(L"VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|STRING| NAME=|FILE_ID| REPLACE=|YES|");
    session.run(L"VR_CMD=|LOCAL:OBJECT:STRING_SET_VALUE| NAME=|FILE_ID| VALUE=|" + fileId + L"|");
    session.run(L"VR_CMD=|OBJECT:SEND| NAME=|FILE_ID|");
}

/// The session stays open on the server for the page, unless no browser could be started.
int openPage(RequestSession &session, const std::wstring &address)
{
    VrpsGetMain()->cancelled = false;
    const bool started = VrpsRunBrowser(address.c_str());
    if (!started) {
        session.end();
    }
    CloseMessageWindow();
    session.release();
    return started ? 0 : 1;
}

} // namespace

int VrpsOpenPortal(ParameterMap &parameters, std::wstring &fileId)
{
    const std::wstring portalUrl = parameters[L"PORTAL_URL"];
    if (portalUrl.empty()) {
        return 0;
    }
    VrpsSetMessageWindow(resource::messagesConnectingServer, -1);
    const ConnectionParameters connection = readServerParameters(parameters, L"PORTAL");
    RequestSession session = logIn(connection);
    if (!session.isOpen()) {
        return 1;
    }
    if (cancelRequested()) {
        return endCancelled(session);
    }
    const std::wstring sessionId = session.ask(L"VR_CMD=|LOCAL:REQUEST:GET_SESSION_ID|").text;
    if (sessionId.empty()) {
        return failWith(session, resource::errorsCannotConnectServer);
    }
    const std::wstring digest = digestOf(sessionId, connection.sso);
    handOver(session, fileId);
    VrpsSetMessageWindow(resource::messagesOpeningBrowser, -1);
    if (cancelRequested()) {
        return endCancelled(session);
    }
    return openPage(session, portalAddress(portalUrl, sessionId, digest));
}
