// SPDX-License-Identifier: MIT
#include "vrp/server/upload.h"

#include "vrp/core/VrpMain.h"
#include "vrp/core/resource_table.h"
#include "vrp/server/UploadJob.h"
#include "vrp/server/login.h"
#include "vrp/server/session_exits.h"
#include "vrp/server/upload_blocks.h"
#include "vrp/server/upload_choices.h"
#include "vrp/server/upload_description.h"
#include "vrp/ui/progress.h"

namespace {

bool connect(UploadJob &job)
{
    VrpsSetMessageWindow(resource::messagesConnectingServer, -1);
    const ConnectionParameters connection = readServerParameters(job.parameters, L"UPLOAD");
    job.container = job.parameters[L"SERVER_UPLOAD_PROFILE_CONTAINER"];
    job.session = logIn(connection);
    return job.session.isOpen();
}

void forbidCancel()
{
    VrpsGetMain()->cancelled = false;
}

/// Has the server process the document; the parameter text carries its own KEY=|value| pairs.
bool processDocument(UploadJob &job)
{
    VrpsSetMessageWindow(resource::messagesProcessingFile, -1);
    return job.session.run(L"VR_PROC=|" + job.parameters[L"SERVER_UPLOAD_PROCEDURE"] + L"| " +
                           job.parameters[L"SERVER_UPLOAD_PARAM"]);
}

int fetchFileIdentifier(UploadJob &job)
{
    job.session.run(L"VR_CMD=|OBJECT:GET| NAME=|FILE_ID|");
    job.fileId = job.session.ask(L"VR_CMD=|LOCAL:OBJECT:STRING_GET_VALUE| NAME=|FILE_ID|").text;
    if (job.fileId.empty()) {
        return failWith(job.session, resource::errorsErrorNoFileIdent);
    }
    job.session.close();
    return 0;
}

int endRefused(UploadJob &job)
{
    const std::wstring service = job.session.errorDetail(L"SERVICE");
    const std::wstring errorClass = job.session.errorDetail(L"CLASS");
    const std::wstring code = job.session.errorDetail(L"CODE");
    const bool badFormat = service == L"POD" && errorClass == L"INPUT" && code == L"101";
    return failWith(job.session,
                    badFormat ? resource::errorsInvalidFileFormat : resource::errorsErrorProcessingFile);
}

bool uploadDocument(UploadJob &job)
{
    return connect(job) && goOn(job.session) && readOfferedModes(job) && chooseMode(job) &&
           chooseTunnelService(job) && compressDocument(job) && sendBlocks(job) && goOn(job.session) &&
           compressedSizeArrived(job) && decompressOnServer(job) && removeTemporaryObjects(job) &&
           plainSizeArrived(job) && sendDescription(job);
}

} // namespace

int VrpsSendFile(const std::wstring &filePath, const std::wstring &printerName, const std::wstring &fileName,
                 const std::wstring &machineName, const std::wstring &userName, ParameterMap &parameters,
                 std::wstring &fileId)
{
    UploadJob job{filePath, printerName, fileName, machineName, userName, parameters, fileId};
    if (!uploadDocument(job)) {
        return 1;
    }
    forbidCancel();
    if (VrpsGetMain()->testMode) {
        job.session.close();
        return 0;
    }
    return processDocument(job) ? fetchFileIdentifier(job) : endRefused(job);
}
