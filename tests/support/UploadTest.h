// SPDX-License-Identifier: MIT
#pragma once

#include "tests/support/ServerTest.h"
#include "tests/support/UploadScript.h"
#include "vrp/server/upload.h"

#include <string>

/// An upload of a document of 200000 bytes that are compressed to two blocks, the second of 10 bytes.
class UploadTest : public ServerTest
{
protected:
    static constexpr int plainBytes = 200000;
    static constexpr int twoBlocks = 65546;

    UploadTest()
    {
        main->ident = L"ident";
        main->password = L"ident-secret";
        scriptUpload(library, plainBytes, twoBlocks);
    }

    int upload()
    {
        return VrpsSendFile(L"/spool/job 1.pdf", L"Queue", L"A document", L"machine", L"login", parameters,
                            fileId);
    }

    /// Chooses a mode in the dialog.
    void chooseMode(int mode)
    {
        user.inPrintModeDialog = [this, mode] {
            main->printMode = mode;
            return 0;
        };
    }

    static std::string commands() { return Transcript::linesFrom("> "); }

    /// The fields of FILE_INFO with the values that they were set to, in the order of the commands.
    static std::string description()
    {
        const std::string command = "> VR_CMD=|LOCAL:OBJECT:INDSTRINGLIST_SET_VALUE| NAME=|FILE_INFO| ";
        std::string fields = Transcript::linesFrom(command);
        for (std::size_t at = fields.find(command); at != fields.npos; at = fields.find(command)) {
            fields.erase(at, command.size());
        }
        return fields;
    }

    ParameterMap parameters = uploadParameters();
    std::wstring fileId = L"before";
};
