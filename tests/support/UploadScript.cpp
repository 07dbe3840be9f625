// SPDX-License-Identifier: MIT
#include "tests/support/UploadScript.h"

ParameterMap uploadParameters()
{
    return {
        {L"SERVER_UPLOAD_ADDRESS", L"upload"},          {L"SERVER_UPLOAD_PORT", L"2000"},
        {L"SERVER_UPLOAD_APPLICATION", L"app"},         {L"SERVER_UPLOAD_USER", L"user"},
        {L"SERVER_UPLOAD_PASSWORD", L"session-secret"}, {L"SERVER_UPLOAD_PROFILE_CONTAINER", L"PROFILE"},
        {L"SERVER_UPLOAD_PROCEDURE", L"ProcessFile"},   {L"SERVER_UPLOAD_PARAM", L"QUEUE=|main| KEEP=|no|"}};
}

void scriptStringList(ScriptedLibrary &library, const std::string &name,
                      std::initializer_list<const char *> entries)
{
    library.answer("VR_CMD=|LOCAL:OBJECT:STRINGLIST_GET_SIZE| NAME=|" + name + "|",
                   std::to_string(entries.size()));
    int index = 0;
    for (const char *entry : entries) {
        library.answer("VR_CMD=|LOCAL:OBJECT:STRINGLIST_GET_VALUE| NAME=|" + name + "| INDEX=|" +
                           std::to_string(++index) + "|",
                       entry);
    }
}

void scriptUpload(ScriptedLibrary &library, int plainBytes, int compressedBytes,
                  std::initializer_list<const char *> modes)
{
    scriptStringList(library, "PRINTING_MODES", modes);
    library.answer("VR_CMD=|LOCAL:OBJECT:FILE_GET_SIZE| NAME=|SEND_FILE|", std::to_string(plainBytes));
    library.answer("VR_CMD=|LOCAL:OBJECT:FILE_GET_SIZE| NAME=|COMPRESSED_FILE|",
                   std::to_string(compressedBytes));
    const char *serverSize = "VR_CMD=|LOCAL:OBJECT:INTEGER_GET_VALUE| NAME=|SERVER_FILE_SIZE|";
    library.answer(serverSize, std::to_string(plainBytes));
    library.answer(serverSize, std::to_string(compressedBytes), 1);
    library.answer("VR_CMD=|LOCAL:OBJECT:STRING_GET_VALUE| NAME=|FILE_ID|", "FILE-7");
}

void scriptServices(ScriptedLibrary &library, std::initializer_list<const char *> rows)
{
    library.answer("VR_CMD=|LOCAL:OBJECT:STRING_GET_VALUE| NAME=|TUNNEL_MODE| VR_NO_ERROR=|YES|", "MULTIPLE");
    library.answer("VR_CMD=|LOCAL:OBJECT:TABLE_GET_NUM_ROWS| NAME=|TUNNEL_SERVICES|",
                   std::to_string(rows.size()));
    int number = 0;
    for (const char *row : rows) {
        library.answer("VR_CMD=|LOCAL:OBJECT:TABLE_GET_ROW| NAME=|TUNNEL_SERVICES| ROW=|" +
                           std::to_string(++number) + "| MODE=|STRING|",
                       row);
    }
}
