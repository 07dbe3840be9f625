// SPDX-License-Identifier: MIT
#include "vrp/server/upload_description.h"

#include "vrp/core/VrpMain.h"
#include "vrp/server/session_exits.h"

namespace {

/// Values stand between the bars as they are: nothing can be escaped.
void describe(RequestSession &session, const std::wstring &key, const std::wstring &value)
{
    session.run(L"VR_CMD=|LOCAL:OBJECT:INDSTRINGLIST_SET_VALUE| NAME=|FILE_INFO| KEY=|" + key + L"| VALUE=|" +
                value + L"|");
}

/// In tunnel mode the mode is set twice, first to STANDARD; the second replaces the first, and both are kept.
void describePrintMode(RequestSession &session)
{
    const int mode = VrpsGetMain()->printMode;
    if (mode == printModeStandard || mode == printModeTunnel) {
        describe(session, L"PRINT_MODE", L"STANDARD");
    }
    if (mode == printModeAsync) {
        describe(session, L"PRINT_MODE", L"ASYNC");
    }
    if (mode == printModeTunnel) {
        describe(session, L"PRINT_MODE", L"TUNNEL");
    }
}

} // namespace

bool sendDescription(UploadJob &job)
{
    RequestSession &session = job.session;
    session.run(L"VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|INDSTRINGLIST| NAME=|FILE_INFO| REPLACE=|YES|");
    describePrintMode(session);
    describe(session, L"PRINTER_NAME", job.printerName);
    describe(session, L"FILE_NAME", job.fileName);
    describe(session, L"FILE_SIZE", std::to_wstring(job.plainBytes));
    describe(session, L"WIN_MACHINE", job.machineName);
    describe(session, L"WIN_USER", job.userName);
    describe(session, L"TUNNEL_SERVICE", job.tunnelService);
    describe(session, L"TUNNEL_PROFILE", job.tunnelProfile);
    session.run(L"VR_CMD=|OBJECT:SEND| NAME=|FILE_INFO|");
    return goOn(session);
}
