// SPDX-License-Identifier: MIT
#include "vrp/server/session_exits.h"

#include "vrp/core/VrpMain.h"
#include "vrp/core/resource_table.h"
#include "vrp/server/RequestSession.h"
#include "vrp/server/cancel_request.h"
#include "vrp/ui/error_report.h"
#include "vrp/ui/message_boxes.h"
#include "vrp/ui/progress.h"

int failWith(RequestSession &session, const wchar_t *messageId)
{
    session.close();
    reportError(messageId);
    CloseMessageWindow();
    return 1;
}

int endCancelled(RequestSession &session)
{
    session.close();
    if (!VrpsGetMain()->silent) {
        VrpsMessageBoxFromId(resource::errorsOperationCanceled, iconInformation, buttonOk);
    }
    CloseMessageWindow();
    return 1;
}

bool stepFailed(RequestSession &session, const wchar_t *messageId)
{
    failWith(session, messageId);
    return false;
}

bool goOn(RequestSession &session)
{
    if (!cancelRequested()) {
        return true;
    }
    endCancelled(session);
    return false;
}
