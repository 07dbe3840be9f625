// SPDX-License-Identifier: MIT
#include "vrp/server/upload_blocks.h"

#include "vrp/core/resource_table.h"
#include "vrp/platform/text.h"
#include "vrp/server/session_exits.h"
#include "vrp/ui/progress.h"

namespace {

std::wstring createLocalFile(const std::wstring &name, const wchar_t *persist, const std::wstring &path)
{
    return L"VR_CMD=|LOCAL:OBJECT:CREATE| TYPE=|FILE| NAME=|" + name + L"| PERSIST=|" + persist +
           L"| FILENAME=|" + path + L"|";
}

int localFileSize(UploadJob &job, const std::wstring &name)
{
    return decimalPrefix(job.session.ask(L"VR_CMD=|LOCAL:OBJECT:FILE_GET_SIZE| NAME=|" + name + L"|").text);
}

/// The server's files to receive the document. A failure shows when they are used.
void createServerFiles(RequestSession &session)
{
    session.run(L"VR_CMD=|OBJECT:CREATE| TYPE=|FILE| NAME=|RECEIVED_FILE| REPLACE=|YES|");
    session.run(L"VR_CMD=|OBJECT:CREATE| TYPE=|FILE| NAME=|RECEIVED_COMPRESSED_FILE| REPLACE=|YES|");
}

/// Copies one block out of the compressed file and appends it to the server's; ends at the first failure.
bool sendBlock(RequestSession &session, int offset, int bytes)
{
    return session.run(L"VR_CMD=|LOCAL:OBJECT:COPY| NAME=|BLOCK_FILE| SNAME=|COMPRESSED_FILE| OFFSET=|" +
                       std::to_wstring(offset) + L"| NUM_BYTES=|" + std::to_wstring(bytes) + L"|") &&
           session.run(L"VR_CMD=|OBJECT:REMOVE| NAME=|BLOCK_FILE|") &&
           session.run(L"VR_CMD=|OBJECT:SEND| NAME=|BLOCK_FILE|") &&
           session.run(L"VR_CMD=|OBJECT:FILE_APPEND| NAME=|RECEIVED_COMPRESSED_FILE| SNAME=|BLOCK_FILE|");
}

/// The size of a file on the server: read into a server variable there and brought back as an object.
int serverFileSize(RequestSession &session, const std::wstring &name)
{
    session.run(L"VR_CMD=|OBJECT:CREATE| TYPE=|INTEGER| NAME=|SERVER_FILE_SIZE| REPLACE=|YES|");
    session.run(L"VR_CMD=|OBJECT:FILE_GET_SIZE| NAME=|" + name + L"| VR_VAR=|SERVER_FILE_SIZE|");
    session.run(L"VR_CMD=|OBJECT:INTEGER_SET_VALUE| NAME=|SERVER_FILE_SIZE| VALUE=|##SERVER_FILE_SIZE| "
                L"VR_KEEP_VAR=|YES|");
    session.run(L"VR_CMD=|OBJECT:GET| NAME=|SERVER_FILE_SIZE|");
    session.run(L"VR_CMD=|OBJECT:REMOVE| NAME=|SERVER_FILE_SIZE|");
    return decimalPrefix(
        session.ask(L"VR_CMD=|LOCAL:OBJECT:INTEGER_GET_VALUE| NAME=|SERVER_FILE_SIZE|").text);
}

} // namespace

BlockPlan planBlocks(int compressedBytes)
{
    const int remainder = compressedBytes % blockBytes;
    return {compressedBytes / blockBytes + (remainder != 0 ? 1 : 0), remainder};
}

bool compressDocument(UploadJob &job)
{
    RequestSession &session = job.session;
    VrpsSetMessageWindow(resource::messagesSendingFile, 0);
    session.run(createLocalFile(L"SEND_FILE", L"-1", job.filePath));
    job.plainBytes = localFileSize(job, L"SEND_FILE");
    session.run(createLocalFile(L"COMPRESSED_FILE", L"0", job.filePath + L".tmpc"));
    session.run(L"VR_CMD=|LOCAL:OBJECT:FILE_COMPRESS| NAME=|SEND_FILE| DNAME=|COMPRESSED_FILE|");
    job.compressedBytes = localFileSize(job, L"COMPRESSED_FILE");
    if (job.compressedBytes < 1) {
        return stepFailed(session, resource::errorsBadFile);
    }
    session.run(createLocalFile(L"BLOCK_FILE", L"0", job.filePath + L".tmp"));
    return true;
}

bool sendBlocks(UploadJob &job)
{
    const BlockPlan plan = planBlocks(job.compressedBytes);
    createServerFiles(job.session);
    int offset = 0;
    for (int block = 1; block <= plan.count; ++block) {
        if (!goOn(job.session)) {
            return false;
        }
        const int bytes = block == plan.count ? plan.lastBytes : blockBytes;
        if (!sendBlock(job.session, offset, bytes)) {
            return stepFailed(job.session, resource::errorsErrorSendingFile);
        }
        offset += bytes;
        VrpsSetMessageWindow(resource::messagesSendingFile, block * 100 / plan.count);
    }
    return true;
}

bool compressedSizeArrived(UploadJob &job)
{
    return serverFileSize(job.session, L"RECEIVED_COMPRESSED_FILE") == job.compressedBytes ||
           stepFailed(job.session, resource::errorsErrorSendingFile);
}

bool decompressOnServer(UploadJob &job)
{
    job.session.run(L"VR_CMD=|OBJECT:FILE_DECOMPRESS| NAME=|RECEIVED_COMPRESSED_FILE| DNAME=|RECEIVED_FILE|");
    return goOn(job.session);
}

bool removeTemporaryObjects(UploadJob &job)
{
    job.session.run(L"VR_CMD=|LOCAL:OBJECT:REMOVE| NAME=|BLOCK_FILE|");
    job.session.run(L"VR_CMD=|LOCAL:OBJECT:REMOVE| NAME=|COMPRESSED_FILE|");
    job.session.run(L"VR_CMD=|OBJECT:REMOVE| NAME=|BLOCK_FILE|");
    job.session.run(L"VR_CMD=|OBJECT:REMOVE| NAME=|RECEIVED_COMPRESSED_FILE|");
    return goOn(job.session);
}

bool plainSizeArrived(UploadJob &job)
{
    const int bytes = serverFileSize(job.session, L"RECEIVED_FILE");
    if (!goOn(job.session)) {
        return false;
    }
    return bytes == job.plainBytes || stepFailed(job.session, resource::errorsErrorSendingFile);
}
