// SPDX-License-Identifier: MIT
#include "vrp/server/upload_choices.h"

#include "vrp/core/VrpMain.h"
#include "vrp/core/resource_table.h"
#include "vrp/platform/keyword.h"
#include "vrp/server/session_exits.h"
#include "vrp/ui/print_choices.h"
#include "vrp/ui/progress.h"

namespace {

constexpr wchar_t noError[] = L" VR_NO_ERROR=|YES|";

/// Fetches an object of the user's profile; whether that worked shows when it is read.
void fetchFromProfile(UploadJob &job, const std::wstring &name, const std::wstring &modifier = {})
{
    job.session.run(L"VR_CMD=|OBJECT:GET| NAME=|" + name + L"| VR_CONTAINER=|" + job.container + L"|" +
                    modifier);
}

std::wstring readString(UploadJob &job, const std::wstring &name, const std::wstring &modifier = {})
{
    return job.session.ask(L"VR_CMD=|LOCAL:OBJECT:STRING_GET_VALUE| NAME=|" + name + L"|" + modifier).text;
}

void offerMode(const std::wstring &mode)
{
    VrpMain &main = *VrpsGetMain();
    if (mode == L"STANDARD") {
        main.standardModeOffered = true;
    } else if (mode == L"TUNNEL") {
        main.tunnelModeOffered = true;
    } else if (mode == L"ASYNC") {
        main.asyncModeOffered = true;
    }
}

/// Ends an upload whose dialog the user has cancelled: the dialog has said enough.
bool endQuietly(UploadJob &job)
{
    job.session.close();
    CloseMessageWindow();
    return false;
}

bool failWithoutService(UploadJob &job)
{
    return stepFailed(job.session, resource::errorsNoTunnelServiceProfile);
}

bool severalServicesOffered(UploadJob &job)
{
    fetchFromProfile(job, L"TUNNEL_MODE", noError);
    return keyword(readString(job, L"TUNNEL_MODE", noError)) == L"MULTIPLE";
}

/// The rows of the service table, empty ones left out.
void readServices(UploadJob &job, int rows)
{
    VrpMain &main = *VrpsGetMain();
    main.services.clear();
    for (int row = 1; row <= rows; ++row) {
        main.service = job.session
                           .ask(L"VR_CMD=|LOCAL:OBJECT:TABLE_GET_ROW| NAME=|TUNNEL_SERVICES| ROW=|" +
                                std::to_wstring(row) + L"| MODE=|STRING|")
                           .text;
        if (!main.service.empty()) {
            main.services.push_back(main.service);
        }
    }
    main.service.clear();
}

/// The only service, or the one that the user chooses; false when they cancelled.
bool chooseService()
{
    VrpMain &main = *VrpsGetMain();
    if (main.services.size() > 1) {
        return VrpsAskService() == 0;
    }
    if (main.services.size() == 1) {
        main.service = main.services.front();
    }
    return true;
}

bool chooseAmongServices(UploadJob &job)
{
    fetchFromProfile(job, L"TUNNEL_SERVICES");
    const int rows = RequestSession::entryCount(
        job.session.ask(L"VR_CMD=|LOCAL:OBJECT:TABLE_GET_NUM_ROWS| NAME=|TUNNEL_SERVICES|"));
    if (rows == 0) {
        return failWithoutService(job);
    }
    readServices(job, rows);
    if (!chooseService()) {
        return endQuietly(job);
    }
    const TunnelService chosen = splitServiceRow(VrpsGetMain()->service);
    job.tunnelService = chosen.name;
    job.tunnelProfile = chosen.profile;
    return true;
}

void readSingleService(UploadJob &job)
{
    fetchFromProfile(job, L"TUNNEL_SERVICE_NAME");
    job.tunnelService = readString(job, L"TUNNEL_SERVICE_NAME");
    fetchFromProfile(job, L"TUNNEL_SERVICE_PROFILE");
    job.tunnelProfile = readString(job, L"TUNNEL_SERVICE_PROFILE");
}

} // namespace

bool readOfferedModes(UploadJob &job)
{
    VrpMain &main = *VrpsGetMain();
    VrpsSetMessageWindow(resource::messagesCheckingSecurity, -1);
    main.printMode = printModeNone;
    fetchFromProfile(job, L"PRINTING_MODES");
    job.session.readStringList(L"PRINTING_MODES",
                               [](const RequestSession::Answer &mode) { offerMode(keyword(mode.text)); });
    if (main.standardModeOffered || main.asyncModeOffered || main.tunnelModeOffered) {
        return true;
    }
    return stepFailed(job.session, resource::errorsNotAuthorized);
}

bool chooseMode(UploadJob &job)
{
    VrpsAskPrintMode();
    return VrpsGetMain()->printMode != printModeNone || endQuietly(job);
}

bool chooseTunnelService(UploadJob &job)
{
    if (VrpsGetMain()->printMode != printModeTunnel) {
        return true;
    }
    if (!severalServicesOffered(job)) {
        readSingleService(job);
    } else if (!chooseAmongServices(job)) {
        return false;
    }
    // One of the two alone is enough, whatever the message says.
    if (job.tunnelService.empty() && job.tunnelProfile.empty()) {
        return failWithoutService(job);
    }
    return true;
}

TunnelService splitServiceRow(std::wstring &row)
{
    TunnelService service;
    const std::size_t nameEnd = row.find(L';');
    if (nameEnd == row.npos) {
        return service;
    }
    service.name = row.substr(0, nameEnd);
    row.erase(0, nameEnd + 1);
    const std::size_t labelEnd = row.find(L';');
    if (labelEnd != row.npos) {
        service.profile = row.substr(labelEnd + 1);
    }
    return service;
}
